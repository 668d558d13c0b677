#pragma once

#include "cairn/document/document.h"
#include "tests/support/old_records.h"

#include <span>

namespace cairn::test {

inline Bytes bytesOf(const F_MemoryFile& file) {
    const auto* bytes = static_cast<const unsigned char*>(file.getAddress());
    return {bytes, bytes + file.getSize()};
}

/// What `CN_Document::save` makes of the document.
inline Bytes saveLevel(CN_Document& document) {
    F_MemoryFile file;
    document.save(file);
    return bytesOf(file);
}

/// Loads an image without a seal.
inline void loadLevel(CN_Document& document, std::span<const unsigned char> bytes) {
    F_MemoryFile file(bytes.data(), bytes.size(), false);
    document.load(file);
}

/// The codes of the load report's findings, in order, a blank between them.
inline std::string reportCodes(const CN_Document& document) {
    std::string codes;
    for (const CN_LoadFinding& finding : document.getLoadReport().getFindings())
        codes += (codes.empty() ? "" : " ") + finding.code;
    return codes;
}

} // namespace cairn::test
