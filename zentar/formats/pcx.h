// PCX pictures: what the single-picture format and the multi-page DCX
// container (whose pages are PCX pictures) have in common.
#pragma once

#include "../format.h"

#include <cstdio>
#include <string>

namespace zentar::pcx {

// A plausible PCX header at the start of `bytes`.
bool sniff(Bytes bytes);

// The page's kind and size, without decoding it.
OpStatus describe(Bytes page, ZntSubImage &image, std::string &compressionName, uint32_t &dpiX, uint32_t &dpiY,
                  std::string &message);

// Decodes the picture that fills `page` (an 8-bit picture keeps its
// palette in the last 769 bytes, so the span must end where the page does).
OpStatus decode(Bytes page, const LoadRequest &request, OwnedPicture &out, std::string &message);

// Writes one picture at the file's current position; run-length encoded
// when params.rleCompress is set.
OpStatus write(FILE *file, const Picture &picture, const FormatParams &params);

// Binary, grey and palette of up to 256 entries, and true colour (its mask
// dropped), at most 65534 pixels wide (rows are an even number of bytes of
// at most 65535) and 65535 high.
extern const ZntSaveKind kSaveKinds[];

}  // namespace zentar::pcx
