// DCX: several PCX pictures in one file, as fax programs kept their pages.
// A magic number, then a table of up to 1023 page offsets ended by zero,
// then the pages. Each page is read as a PCX picture that ends where the
// next page (in file order) begins.
//
// Written page by page: the table is reserved first and filled in when the
// file is closed, once every page's offset is known.
#include "../bytes.h"
#include "../format.h"
#include "pcx.h"

#include <algorithm>
#include <string>
#include <vector>

namespace zentar {

namespace {

constexpr uint32_t kMagic = 987654321;
constexpr size_t kTableEntries = 1024;   // the last one is always the zero that ends the list
constexpr size_t kMaxPages = kTableEntries - 1;

bool sniffDcx(Bytes head) { return head.size() >= 8 && readLe32(head.data()) == kMagic; }

// The span of each page: from its offset to the next larger offset, or to
// the end of the file.
OpStatus pageSpans(Bytes bytes, std::vector<Bytes> &pages, std::string &message) {
    if (!sniffDcx(bytes)) {
        message = "Not a DCX file";
        return bytes.size() >= 4 && readLe32(bytes.data()) == kMagic ? ZNT_CANT_READ : ZNT_BAD_FILE;
    }
    std::vector<uint32_t> offsets;
    for (size_t i = 0; i < kTableEntries; ++i) {
        const size_t at = 4 + 4 * i;
        if (at + 4 > bytes.size()) return ZNT_CANT_READ;
        const uint32_t offset = readLe32(bytes.data() + at);
        if (offset == 0) break;
        if (offset < 8 || offset >= bytes.size()) {
            message = "DCX page " + std::to_string(i + 1) + " lies outside the file";
            return offset >= bytes.size() ? ZNT_CANT_READ : ZNT_BAD_FILE;
        }
        offsets.push_back(offset);
    }
    if (offsets.empty()) {
        message = "DCX file without pages";
        return ZNT_BAD_FILE;
    }
    std::vector<uint32_t> sorted = offsets;
    std::sort(sorted.begin(), sorted.end());
    for (uint32_t offset : offsets) {
        const auto next = std::upper_bound(sorted.begin(), sorted.end(), offset);
        const size_t end = next == sorted.end() ? bytes.size() : *next;
        pages.push_back(bytes.subspan(offset, end - offset));
    }
    return ZNT_OK;
}

OpStatus readHeader(const Source &source, uint32_t, Header &header) {
    std::vector<Bytes> pages;
    if (const OpStatus s = pageSpans(source.bytes, pages, header.message); s != ZNT_OK) return s;
    for (size_t i = 0; i < pages.size(); ++i) {
        ZntSubImage image{};
        std::string compression;
        uint32_t dpiX = 0, dpiY = 0;
        const OpStatus s = pcx::describe(pages[i], image, compression, dpiX, dpiY, header.message);
        if (s != ZNT_OK) {
            if (i == 0) return s;
            header.message.clear();
            break;   // the pages before it can still be read
        }
        if (i == 0) {
            header.compressionName = compression;
            header.compression = compression == "RLE" ? 1 : 0;
            header.resolutionX = dpiX;
            header.resolutionY = dpiY;
        }
        header.images.push_back(image);
    }
    return ZNT_OK;
}

OpStatus readPixels(const Source &source, const LoadRequest &request, OwnedPicture &out, std::string &message) {
    std::vector<Bytes> pages;
    if (const OpStatus s = pageSpans(source.bytes, pages, message); s != ZNT_OK) return s;
    if (request.page < 0 || size_t(request.page) >= pages.size()) {
        message = "No page " + std::to_string(request.page + 1);
        return ZNT_BAD_FILE;
    }
    return pcx::decode(pages[size_t(request.page)], request, out, message);
}

class DcxPages : public PageWriter {
public:
    DcxPages(FILE *file, const FormatParams &params) : file_(file), params_(params) {
        FileWriter out(file_);
        out.le32(kMagic);
        for (size_t i = 0; i < kTableEntries; ++i) out.le32(0);
        ok_ = out.ok();
    }

    OpStatus add(const Picture &picture) override {
        if (!ok_) return ZNT_CANT_WRITE;
        if (offsets_.size() >= kMaxPages) return ZNT_CANT_SAVE;
        const off_t at = ftello(file_);
        if (at < 0 || at > off_t(UINT32_MAX)) return ZNT_CANT_WRITE;
        offsets_.push_back(uint32_t(at));
        return pcx::write(file_, picture, params_);
    }

    OpStatus finish() override {
        if (!ok_ || offsets_.empty()) return offsets_.empty() ? ZNT_CANT_SAVE : ZNT_CANT_WRITE;
        if (fseeko(file_, 4, SEEK_SET) != 0) return ZNT_CANT_WRITE;
        FileWriter out(file_);
        for (uint32_t offset : offsets_) out.le32(offset);
        if (!out.ok() || fseeko(file_, 0, SEEK_END) != 0) return ZNT_CANT_WRITE;
        return ZNT_OK;
    }

private:
    FILE *file_;
    FormatParams params_;
    std::vector<uint32_t> offsets_;
    bool ok_ = true;
};

std::unique_ptr<PageWriter> openPages(FILE *file, const FormatParams &params) {
    return std::make_unique<DcxPages>(file, params);
}

OpStatus writeDcx(FILE *file, const Picture &picture, const FormatParams &params) {
    DcxPages pages(file, params);
    if (const OpStatus s = pages.add(picture); s != ZNT_OK) return s;
    return pages.finish();
}

}  // namespace

const Format kDcxFormat = {
    "dcx", "Multi-page Paintbrush", "dcx", "DCX", Signature::exact, sniffDcx,
    readHeader, readPixels, pcx::kSaveKinds, writeDcx, openPages,
};

}  // namespace zentar
