// PostScript, EPS and PDF, read through Ghostscript ("gs" on $PATH), which
// renders one page at a time into a portable any-map that the "ppm" reader
// then loads: black-and-white pages come back binary, grey pages grey,
// the others RGB. Text and line art are anti-aliased.
//
// The page is rendered at the request's resolution (72 dpi when 0). With a
// page size in points the page has that size and a document page of another
// size is scaled to fit it; otherwise a PostScript page keeps the size the
// document asks for, an EPS file is cropped to its bounding box and a PDF
// page has its media box.
//
// The interpreter runs as a child process with an argument vector, in a
// private temporary folder that is removed afterwards, with a time limit and
// a cap on the size of what it writes, so that a hostile document can
// neither hang the program nor fill the disk. While it runs, the progress
// function is called about ten times a second and may stop it.
//
// Without Ghostscript these formats answer ZNT_UNKNOWN_FORMAT and say why.
//
// File information: a PDF's page count and page sizes are asked of the
// interpreter (the first page only with kInfoQuick); PostScript and EPS
// are described from their structuring comments (%%Pages, %%Page,
// %%BoundingBox), without running anything. Sizes are in points, which
// are pixels at 72 dpi.
#include "../child_process.h"
#include "../file_io.h"
#include "../format.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace zentar {

namespace {

constexpr int kRenderLimitMs = 60000;
constexpr int kQueryLimitMs = 15000;
constexpr int kTickMs = 100;
constexpr uint32_t kMaxDpi = 2400;
constexpr size_t kMaxPages = 100000;
constexpr uint32_t kLetterWidthPt = 612, kLetterHeightPt = 792;
constexpr const char *kMissingMessage = "Ghostscript (gs) is not installed: cannot read PostScript or PDF";

enum class Kind { ps, eps, pdf };

std::string_view text(Bytes bytes) { return {reinterpret_cast<const char *>(bytes.data()), bytes.size()}; }

// The PostScript section of an EPS file with a binary preview header.
Bytes postscriptPart(Bytes bytes) {
    if (bytes.size() >= 12 && bytes[0] == 0xc5 && bytes[1] == 0xd0 && bytes[2] == 0xd3 && bytes[3] == 0xc6) {
        const uint32_t offset = uint32_t(bytes[4]) | uint32_t(bytes[5]) << 8 | uint32_t(bytes[6]) << 16 |
                                uint32_t(bytes[7]) << 24;
        const uint32_t length = uint32_t(bytes[8]) | uint32_t(bytes[9]) << 8 | uint32_t(bytes[10]) << 16 |
                                uint32_t(bytes[11]) << 24;
        if (offset >= bytes.size() || length > bytes.size() - offset) return {};
        return bytes.subspan(offset, length);
    }
    return bytes;
}

bool sniffPdf(Bytes head) {
    // Some writers put a few bytes before the header; readers accept it within the first kilobyte.
    return text(head.first(std::min<size_t>(head.size(), 1024))).find("%PDF-") != std::string_view::npos;
}

bool sniffEps(Bytes head) {
    if (head.size() >= 4 && head[0] == 0xc5 && head[1] == 0xd0 && head[2] == 0xd3 && head[3] == 0xc6) return true;
    const std::string_view t = text(head.first(std::min<size_t>(head.size(), 256)));
    if (!t.starts_with("%!PS-Adobe-")) return false;
    const std::string_view firstLine = t.substr(0, t.find_first_of("\r\n"));
    return firstLine.find(" EPSF-") != std::string_view::npos;
}

bool sniffPs(Bytes head) {
    const std::string_view t = text(head);
    return t.starts_with("%!") || t.starts_with("\x04%!");
}

// What the structuring comments of a PostScript file say.
struct Comments {
    size_t pages = 0;         // %%Pages, or the count of %%Page lines
    bool haveBox = false;
    double boxWidthPt = 0, boxHeightPt = 0;
};

// Numbers following a comment's key, e.g. the four of "%%BoundingBox: 0 0 612 792".
int numbersAfter(std::string_view line, double *out, int wanted) {
    std::string copy(line.substr(0, std::min<size_t>(line.size(), 200)));
    const char *p = copy.c_str();
    int count = 0;
    while (count < wanted) {
        char *end = nullptr;
        const double v = std::strtod(p, &end);
        if (end == p || !std::isfinite(v)) break;
        out[count++] = v;
        p = end;
    }
    return count;
}

Comments readComments(Bytes bytes) {
    Comments c;
    const std::string_view t = text(postscriptPart(bytes));
    size_t declaredPages = 0, pageLines = 0;
    bool havePages = false;
    for (size_t pos = 0; pos < t.size();) {
        const size_t end = std::min(t.find_first_of("\r\n", pos), t.size());
        const std::string_view line = t.substr(pos, end - pos);
        pos = end + 1;
        if (!line.starts_with("%%")) continue;
        if (line.starts_with("%%Page:")) {
            ++pageLines;
        } else if (!havePages && line.starts_with("%%Pages:")) {
            double n = 0;
            if (numbersAfter(line.substr(8), &n, 1) == 1 && n >= 1 && n <= double(kMaxPages)) {
                declaredPages = size_t(n);
                havePages = true;
            }
        } else if (!c.haveBox && line.starts_with("%%BoundingBox:")) {
            double box[4];
            if (numbersAfter(line.substr(14), box, 4) == 4 && box[2] > box[0] && box[3] > box[1] &&
                box[2] - box[0] < 1e6 && box[3] - box[1] < 1e6) {
                c.haveBox = true;
                c.boxWidthPt = box[2] - box[0];
                c.boxHeightPt = box[3] - box[1];
            }
        }
    }
    c.pages = std::min(havePages ? declaredPages : std::max<size_t>(pageLines, 1), kMaxPages);
    return c;
}

uint32_t pointsToPixels(double points, uint32_t dpi) {
    const double px = std::ceil(points * dpi / 72.0 - 1e-6);
    return px < 1 ? 1 : px > 4e9 ? 0xffffffffu : uint32_t(px);
}

// A text as a PostScript string literal.
std::string psString(const std::string &s) {
    std::string out = "(";
    for (char c : s) {
        if (c == '(' || c == ')' || c == '\\') out += '\\';
        out += c;
    }
    return out + ")";
}

// The first line of the interpreter's messages that names an error.
std::string errorLine(const std::string &logFile) {
    MappedFile log;
    if (log.open(logFile.c_str()) != ZNT_OK) return {};
    const std::string_view t = text(log.bytes().first(std::min<size_t>(log.bytes().size(), 1 << 16)));
    size_t at = t.find("Error");
    if (at == std::string_view::npos) return {};
    const size_t end = t.find_first_of("\r\n", at);
    return std::string(t.substr(at, std::min<size_t>(end == std::string_view::npos ? t.size() - at : end - at, 120)));
}

bool writeWhole(const std::string &path, Bytes bytes) {
    FILE *f = std::fopen(path.c_str(), "wb");
    if (f == nullptr) return false;
    const bool written = bytes.empty() || std::fwrite(bytes.data(), 1, bytes.size(), f) == bytes.size();
    return std::fclose(f) == 0 && written;
}

const char *documentName(Kind kind) { return kind == Kind::pdf ? "document.pdf" : "document.ps"; }

// Page count and media boxes of a PDF, asked of the interpreter.
OpStatus queryPdf(const std::string &gs, Bytes bytes, bool firstOnly, Header &header) {
    TempFolder folder;
    if (!folder.ok() || !writeWhole(folder.file(documentName(Kind::pdf)), bytes)) return ZNT_CANT_READ;
    // Each answer on a line of its own with a mark, since the interpreter
    // may also print warnings about a damaged file.
    const std::string program = psString(folder.file(documentName(Kind::pdf))) +
                                " (r) file runpdfbegin (Pages: ) print pdfpagecount dup = " + (firstOnly ? "pop 1 " : "") +
                                "1 1 3 -1 roll { pdfgetpage (Box: ) print dup /MediaBox pget { ==only } { (none) print } "
                                "ifelse ( ) print /Rotate pget { = } { 0 = } ifelse } for quit";
    const std::vector<std::string> argv = {gs, "-q", "-dNODISPLAY", "-dSAFER", "-dBATCH", "-dNOPAUSE",
                                           "--permit-file-read=" + folder.path() + "/", "-c", program};
    ChildLimits limits;
    limits.timeLimitMs = kQueryLimitMs;
    limits.maxFileBytes = 16u << 20;
    const ChildResult run = runChild(argv, folder.file("out.txt"), folder.file("err.txt"), limits);
    MappedFile out;
    if (!run.succeeded() || out.open(folder.file("out.txt").c_str()) != ZNT_OK) {
        header.message = run.timedOut ? "Ghostscript took too long to read the PDF file"
                                      : "Ghostscript cannot read the PDF file";
        return ZNT_BAD_FILE;
    }
    // "Pages: 2", then for each page "Box: [0 0 595 842] 90" (its media box and rotation).
    const std::string_view t = text(out.bytes());
    double count = 0;
    for (size_t pos = 0; pos < t.size();) {
        const size_t end = std::min(t.find('\n', pos), t.size());
        const std::string_view line = t.substr(pos, end - pos);
        pos = end + 1;
        if (line.starts_with("Pages: ")) {
            numbersAfter(line.substr(7), &count, 1);
        } else if (line.starts_with("Box: ") && count >= 1 && header.images.size() < kMaxPages) {
            std::string box(line.substr(5));
            std::replace(box.begin(), box.end(), '[', ' ');
            std::replace(box.begin(), box.end(), ']', ' ');
            double b[5] = {0, 0, kLetterWidthPt, kLetterHeightPt, 0};
            if (numbersAfter(box, b, 5) < 4 || b[2] == b[0] || b[3] == b[1])
                b[0] = 0, b[1] = 0, b[2] = kLetterWidthPt, b[3] = kLetterHeightPt;
            double w = std::fabs(b[2] - b[0]), h = std::fabs(b[3] - b[1]);
            if (std::lround(b[4] / 90) % 2 != 0) std::swap(w, h);
            header.images.push_back(ZntSubImage{ZNT_CM_RGB, pointsToPixels(w, 72), pointsToPixels(h, 72), 8});
        }
    }
    if (header.images.empty()) {
        header.message = "The PDF file has no pages";
        return ZNT_BAD_FILE;
    }
    return ZNT_OK;
}

OpStatus readHeaderOf(Kind kind, const Source &source, uint32_t flags, Header &header) {
    const std::string gs = findProgram("gs");
    if (gs.empty()) {
        header.message = kMissingMessage;
        return ZNT_UNKNOWN_FORMAT;
    }
    header.resolutionX = header.resolutionY = 72;
    if (kind == Kind::pdf) {
        const std::string_view t = text(source.bytes.first(std::min<size_t>(source.bytes.size(), 1024)));
        const size_t at = t.find("%PDF-");
        header.compressionName = "PDF";
        if (at != std::string_view::npos && at + 8 <= t.size()) header.compressionName.append(" ").append(t.substr(at + 5, 3));
        return queryPdf(gs, source.bytes, (flags & kInfoQuick) != 0, header);
    }
    if (postscriptPart(source.bytes).empty()) {
        header.message = "Bad EPS preview header";
        return ZNT_BAD_FILE;
    }
    const Comments c = readComments(source.bytes);
    header.compressionName = kind == Kind::eps ? "EPS" : "PostScript";
    const uint32_t w = c.haveBox ? pointsToPixels(c.boxWidthPt, 72) : kLetterWidthPt;
    const uint32_t h = c.haveBox ? pointsToPixels(c.boxHeightPt, 72) : kLetterHeightPt;
    const size_t pages = kind == Kind::eps || (flags & kInfoQuick) ? 1 : c.pages;
    header.images.assign(pages, ZntSubImage{ZNT_CM_RGB, w, h, 8});
    return ZNT_OK;
}

OpStatus readPixelsOf(Kind kind, const Source &source, const LoadRequest &request, OwnedPicture &out,
                      std::string &message) {
    const std::string gs = findProgram("gs");
    if (gs.empty()) {
        message = kMissingMessage;
        return ZNT_UNKNOWN_FORMAT;
    }
    if (request.page < 0 || size_t(request.page) >= kMaxPages) return ZNT_BAD_ARGUMENT;
    const FormatParams &options = request.options();
    const uint32_t dpi = std::clamp<uint32_t>(options.postscriptDpi == 0 ? 72 : options.postscriptDpi, 1, kMaxDpi);
    const bool fixedPage = options.pageWidthPt != 0 && options.pageHeightPt != 0;
    const Bytes document = kind == Kind::pdf ? source.bytes : postscriptPart(source.bytes);
    if (document.empty()) {
        message = "Bad EPS preview header";
        return ZNT_BAD_FILE;
    }

    // Refuse what cannot be held before anything is rendered, where the size is known.
    if (fixedPage) {
        if (request.refusesSize(pointsToPixels(options.pageWidthPt, dpi), pointsToPixels(options.pageHeightPt, dpi), 3))
            return ZNT_NO_MEMORY;
    } else if (kind != Kind::pdf) {
        const Comments c = readComments(source.bytes);
        if (c.haveBox && request.refusesSize(pointsToPixels(c.boxWidthPt, dpi), pointsToPixels(c.boxHeightPt, dpi), 3))
            return ZNT_NO_MEMORY;
    }

    TempFolder folder;
    if (!folder.ok() || !writeWhole(folder.file(documentName(kind)), document)) return ZNT_CANT_READ;
    // The output name is a template to the interpreter: "%" is doubled.
    std::string outputName;
    for (char c : folder.file("page.pnm")) outputName.append(c == '%' ? 2 : 1, c);
    const std::string page = std::to_string(request.page + 1);
    std::vector<std::string> argv = {gs, "-q", "-dSAFER", "-dBATCH", "-dNOPAUSE", "-dNOPROMPT", "-sDEVICE=pnmraw",
                                     "-r" + std::to_string(dpi), "-dTextAlphaBits=4", "-dGraphicsAlphaBits=4",
                                     "-dFirstPage=" + page, "-dLastPage=" + page};
    if (fixedPage) {
        argv.push_back("-dDEVICEWIDTHPOINTS=" + std::to_string(options.pageWidthPt));
        argv.push_back("-dDEVICEHEIGHTPOINTS=" + std::to_string(options.pageHeightPt));
        argv.push_back("-dFIXEDMEDIA");
        argv.push_back(kind == Kind::pdf ? "-dPDFFitPage" : kind == Kind::eps ? "-dEPSFitPage" : "-dPSFitPage");
    } else if (kind == Kind::eps) {
        argv.push_back("-dEPSCrop");
    }
    argv.push_back("-sOutputFile=" + outputName);
    argv.push_back("-f");
    argv.push_back(folder.file(documentName(kind)));

    // The picture buffer is the bound on what the interpreter may write.
    ChildLimits limits;
    limits.timeLimitMs = kRenderLimitMs;
    limits.maxFileBytes = kLargestPictureBytes + 4096;
    Progress progress(request, kRenderLimitMs / kTickMs);
    int ticks = 0;
    auto poll = [&, start = std::chrono::steady_clock::now()]() {
        if (!progress.active()) return false;
        const auto elapsed = std::chrono::steady_clock::now() - start;
        const int now = int(std::chrono::duration_cast<std::chrono::milliseconds>(elapsed).count() / kTickMs);
        if (now < ticks) return false;
        ticks = now + 1;
        return progress.row(std::min(now, kRenderLimitMs / kTickMs - 1));
    };
    const ChildResult run = runChild(argv, folder.file("out.txt"), folder.file("err.txt"), limits, poll);
    if (run.stopped) return ZNT_STOPPED;
    if (run.timedOut) {
        message = "Ghostscript took more than " + std::to_string(kRenderLimitMs / 1000) + " s to render the page";
        return ZNT_BAD_FILE;
    }
    if (!run.succeeded()) {
        std::string why = errorLine(folder.file("out.txt"));
        if (why.empty()) why = errorLine(folder.file("err.txt"));
        message = "Ghostscript cannot render the page" + (why.empty() ? std::string() : ": " + why);
        return ZNT_BAD_FILE;
    }
    MappedFile rendered;
    if (rendered.open(folder.file("page.pnm").c_str()) != ZNT_OK || rendered.bytes().empty()) {
        message = "No page " + page;
        return ZNT_BAD_FILE;
    }
    LoadRequest pnm = request;
    pnm.page = 0;
    pnm.progress = nullptr;
    const OpStatus status = kPpmFormat.readPixels(Source{rendered.bytes(), source.name}, pnm, out, message);
    if (status != ZNT_OK) return status;
    out.get().resolutionX = out.get().resolutionY = dpi;
    out.get().colorModel = ZNT_CM_RGB;
    return ZNT_OK;
}

OpStatus readPsHeader(const Source &s, uint32_t f, Header &h) { return readHeaderOf(Kind::ps, s, f, h); }
OpStatus readEpsHeader(const Source &s, uint32_t f, Header &h) { return readHeaderOf(Kind::eps, s, f, h); }
OpStatus readPdfHeader(const Source &s, uint32_t f, Header &h) { return readHeaderOf(Kind::pdf, s, f, h); }
OpStatus readPsPixels(const Source &s, const LoadRequest &r, OwnedPicture &o, std::string &m) {
    return readPixelsOf(Kind::ps, s, r, o, m);
}
OpStatus readEpsPixels(const Source &s, const LoadRequest &r, OwnedPicture &o, std::string &m) {
    return readPixelsOf(Kind::eps, s, r, o, m);
}
OpStatus readPdfPixels(const Source &s, const LoadRequest &r, OwnedPicture &o, std::string &m) {
    return readPixelsOf(Kind::pdf, s, r, o, m);
}

}  // namespace

const Format kEpsFormat = {
    "eps", "Encapsulated PostScript", "eps epsf epsi", "EPS", Signature::specific, sniffEps,
    readEpsHeader, readEpsPixels, nullptr, nullptr, nullptr,
};

const Format kPsFormat = {
    "ps", "PostScript", "ps", "PS", Signature::exact, sniffPs,
    readPsHeader, readPsPixels, nullptr, nullptr, nullptr,
};

const Format kPdfFormat = {
    "pdf", "Portable Document Format", "pdf", "PDF", Signature::exact, sniffPdf,
    readPdfHeader, readPdfPixels, nullptr, nullptr, nullptr,
};

}  // namespace zentar
