#pragma once

#include "cairn/document/document.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace cairn::host {

/// Something of a damaged level that is not in what was saved of it, or not as it was.
struct LostPart {
    std::size_t offset = 0, bytes = 0; ///< where it stands in the file
    std::string name;                  ///< as the file has it, empty where it cannot be read
    std::string reason;                ///< what it was and why it is lost
};

/// What was saved of a damaged level.
struct Salvage {
    std::unique_ptr<CN_Document> document; ///< a level that loads clean
    std::size_t kept = 0;                  ///< entities of the file that are in it
    std::vector<LostPart> lost;            ///< by offset
};

/// Gives a new document without a level.
using DocumentMaker = std::function<std::unique_ptr<CN_Document>()>;

/// Takes a damaged level apart by its chunks and puts what is whole together again. A level that loads is kept as it is; what
/// the load had to repair, and a seal that is not right, are told as lost. An entity is kept where its chunks are whole,
/// below the entity "Recovered" where its parent is lost. Gives no document where nothing like a level is in the bytes.
/// Message boxes and the end of the process must be seen to.
Salvage salvageLevel(std::span<const unsigned char> bytes, const DocumentMaker& makeDocument);

} // namespace cairn::host
