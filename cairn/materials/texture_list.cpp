#include "cairn/materials/texture_list.h"

#include "cairn/document/load_report.h"
#include "cairn/foundation/memory_file.h"
#include "cairn/foundation/system.h"
#include "cairn/materials/numbered_names.h"

#include <algorithm>
#include <charconv>
#include <climits>
#include <cstring>
#include <new>
#include <utility>

namespace cairn {

namespace {

/// What a texture that the index holds has for its place among the others.
constexpr std::size_t INDEXED = static_cast<std::size_t>(-1);

constexpr std::string_view NO_NAME = "NONAME";

/// The number in a name as `NONAME%02d` makes it, or a greater one than any for another name.
int numberOfNoName(std::string_view name) {
    int number = 0;
    if (name.size() <= NO_NAME.size() || !equalFolded(name.substr(0, NO_NAME.size()), NO_NAME))
        return INT_MAX;
    const char* const end = name.data() + name.size();
    const auto [at, error] = std::from_chars(name.data() + NO_NAME.size(), end, number);
    return error == std::errc() && at == end && number >= 0 ? number : INT_MAX;
}

const char* formatWord(I_Image::Format format) {
    switch (format) {
    case I_Image::TGA:
        return "TGA";
    case I_Image::SCX:
        return "SCX";
    case I_Image::PCX:
        return "PCX";
    case I_Image::JPEG:
        return "JPEG";
    case I_Image::UNSUPPORTED:
        return "UNSUPPORTED";
    default:
        return ">INVALID<";
    }
}

} // namespace

CN_TextureList::CN_TextureList() = default;

CN_TextureList::~CN_TextureList() { destruct(); }

void CN_TextureList::construct() {
    destruct();
    m_constructed = true;
}

void CN_TextureList::destruct() {
    if (!m_constructed)
        return;
    removeAll();
    m_crossHairImage.reset();
    m_animationImage.reset();
    m_constructed = false;
}

CN_Texture* CN_TextureList::addNew() {
    makeRoomForNotIndexed();
    CN_Texture& texture = m_list.emplace();
    texture.m_parent = texture.m_holder = this;
    texture.m_stamp = m_nextStamp++;
    addNotIndexed(texture);
    return &texture;
}

bool CN_TextureList::add(const char* fileName, bool reload) {
    if (CN_Texture* texture = get(fileName))
        return !reload || texture->load(fileName);
    CN_Texture* const texture = addNew();
    try {
        if (texture->load(fileName))
            return true;
    } catch (...) {
        remove(texture);
        throw;
    }
    remove(texture);
    return false;
}

void CN_TextureList::add(const CN_Texture* other) {
    if (get(other->name()))
        return;
    const auto size = static_cast<std::size_t>(other->getSourceSize());
    std::unique_ptr<unsigned char[]> bytes;
    if (size > 0) {
        bytes = std::make_unique_for_overwrite<unsigned char[]>(size);
        std::memcpy(bytes.get(), other->getSource(), size);
    }
    CN_Texture& texture = *addNew();
    texture.editName() = other->name();
    texture.takeSource(std::move(bytes), other->getSourceSize());
    texture.m_sourceFormat = other->m_sourceFormat;
    texture.m_width = other->m_width;
    texture.m_height = other->m_height;
    texture.m_renderTexture = std::make_unique<CN_RenderTexture>(&texture);
}

void CN_TextureList::remove(CN_Texture* texture) {
    leaveIndex(*texture);
    if (texture->m_notIndexedAt != INDEXED) {
        m_notIndexed[texture->m_notIndexedAt] = m_notIndexed.back();
        m_notIndexed.back()->m_notIndexedAt = texture->m_notIndexedAt;
        m_notIndexed.pop_back();
    }
    m_list.remove(texture);
}

void CN_TextureList::remove(const char* name) {
    CN_Texture* const texture = get(name);
    if (!texture)
        throw new F_Exception(formatText("Texture %s not found in texture list!", name ? name : ""));
    remove(texture);
}

void CN_TextureList::removeAll() {
    m_index.clear();
    m_notIndexed.clear();
    m_numbers.reset();
    m_indexIsStale = false;
    m_firstNoName = 0;
    m_hasDeferred = false;
    m_list.clear();
}

void CN_TextureList::removeUnreferenced(CN_Texture* texture) {
    if (!texture || texture->isReferenced() || texture->m_holder != this)
        return;
    if (m_deferrals == 0) {
        remove(texture);
        return;
    }
    texture->m_isToBeRemoved = true;
    m_hasDeferred = true;
}

CN_TextureList::DeferredRemoval::DeferredRemoval(CN_TextureList* list) : m_list(list) {
    if (m_list)
        ++m_list->m_deferrals;
}

CN_TextureList::DeferredRemoval::~DeferredRemoval() {
    if (m_list && --m_list->m_deferrals == 0 && m_list->m_hasDeferred)
        m_list->removeDeferred();
}

void CN_TextureList::removeDeferred() {
    m_hasDeferred = false;
    for (CN_Texture& texture : m_list) {
        if (!texture.m_isToBeRemoved)
            continue;
        texture.m_isToBeRemoved = false;
        if (!texture.isReferenced())
            remove(&texture);
    }
}

void CN_TextureList::setUniqueName(CN_Texture* texture) {
    if (findOther(texture->name().view(), texture))
        texture->editName() = toCString(getNumbers().firstFree(texture->name().view()));
}

/// The numbers that names of the index have, which must be up to date.
const CN_NumberedNames& CN_TextureList::getNumbers() {
    if (!m_numbers) {
        auto numbers = std::make_unique<CN_NumberedNames>();
        for (const CN_Texture& texture : m_list)
            numbers->add(texture.name().view());
        m_numbers = std::move(numbers);
    }
    return *m_numbers;
}

/// A name for a texture that has none: the first of its kind that is free.
CString CN_TextureList::makeName() {
    for (;; ++m_firstNoName) {
        const CString name(formatText("%s%02d", NO_NAME.data(), m_firstNoName));
        if (!find(name.view()))
            return name;
    }
}

/// The first texture of this name that isn't the given one, which may be null.
CN_Texture* CN_TextureList::findOther(std::string_view name, const CN_Texture* texture) const {
    updateIndex();
    CN_Texture* found = findIndexed(name, texture);
    if (!found || equalFolded(found->m_name.view(), name))
        return found;
    // Somebody kept the name that `editName` gave and changed it later.
    rebuildIndex();
    return findIndexed(name, texture);
}

CN_Texture* CN_TextureList::findIndexed(std::string_view name, const CN_Texture* texture) const {
    CN_Texture* const* const found = m_index.findOther(name, const_cast<CN_Texture*>(texture));
    return found ? *found : nullptr;
}

void CN_TextureList::nameWillChange(CN_Texture& texture) {
    if (texture.m_notIndexedAt != INDEXED)
        return;
    makeRoomForNotIndexed();
    leaveIndex(texture);
    addNotIndexed(texture);
}

/// Where memory lacks the numbers are made anew when they are next asked for.
template <class Change> void CN_TextureList::changeNumbers(Change&& change) const {
    try {
        if (m_numbers)
            change(*m_numbers);
    } catch (const std::bad_alloc&) {
        m_numbers.reset();
    }
}

/// Takes a texture that is going to have no name, or another one, out of the index.
void CN_TextureList::leaveIndex(CN_Texture& texture) {
    if (texture.m_notIndexedAt != INDEXED)
        return;
    m_firstNoName = std::min(m_firstNoName, numberOfNoName(texture.m_name.view()));
    if (!m_index.erase(texture.m_name.view(), &texture)) {
        m_indexIsStale = true;
        m_numbers.reset();
    }
    changeNumbers([&](CN_NumberedNames& numbers) { numbers.remove(texture.m_name.view()); });
}

void CN_TextureList::makeRoomForNotIndexed() {
    if (m_notIndexed.size() == m_notIndexed.capacity())
        m_notIndexed.reserve(m_notIndexed.size() * 2 + 8);
}

/// There must be room for it.
void CN_TextureList::addNotIndexed(CN_Texture& texture) {
    texture.m_notIndexedAt = m_notIndexed.size();
    m_notIndexed.push_back(&texture);
}

void CN_TextureList::updateIndex() const {
    if (m_indexIsStale)
        rebuildIndex();
    while (!m_notIndexed.empty()) {
        CN_Texture* const texture = m_notIndexed.back();
        m_index.insert(texture->m_name.view(), texture, texture->m_stamp);
        texture->m_notIndexedAt = INDEXED;
        m_notIndexed.pop_back();
        changeNumbers([&](CN_NumberedNames& numbers) { numbers.add(texture->m_name.view()); });
    }
}

void CN_TextureList::rebuildIndex() const {
    m_indexIsStale = true;
    m_index.clear();
    m_notIndexed.clear();
    m_numbers.reset();
    m_firstNoName = 0;
    for (const CN_Texture& each : m_list) {
        auto& texture = const_cast<CN_Texture&>(each);
        texture.m_notIndexedAt = INDEXED;
        m_index.insert(texture.m_name.view(), &texture, texture.m_stamp);
    }
    m_indexIsStale = false;
}

void CN_TextureList::checkSavable() const {
    for (const CN_Texture& texture : m_list)
        if (texture.getSourceSize() <= 0)
            throw new F_Exception(
                formatText("The texture \"%s\" cannot be saved: it has no source", texture.name().GetString()));
}

std::int64_t CN_TextureList::totalTexels() const {
    std::int64_t texels = 0;
    for (const CN_Texture& texture : m_list)
        texels += std::int64_t{texture.getWidth()} * texture.getHeight();
    return texels;
}

void CN_TextureList::dump() const {
    F_System::verbose("CN_TextureList dump -- Total textures: %d\n", m_list.count());
    int index = 0;
    for (const CN_Texture& texture : m_list)
        F_System::verbose("Texture %d, refcount %d, format %s: name %s\n", index++, texture.getMaterialRefs(),
                          formatWord(texture.getSourceFormat()), texture.name().GetString());
}

void CN_TextureList::report(const char* code, string text) const {
    if (m_loadReport)
        m_loadReport->add(code, nullptr, -1, std::move(text));
}

// Version 1: unsigned int count, then each texture.

F_MemoryFile& operator<<(F_MemoryFile& file, const CN_TextureList& list) {
    file.createChunk(0, CAIRN_TEXTURE_LIST_VERSION);
    file.writeCount(static_cast<std::size_t>(list.list().count()));
    for (const CN_Texture& texture : list.list())
        file << texture;
    file.closeChunk();
    return file;
}

F_MemoryFile& operator<<(F_MemoryFile& file, const std::set<CN_Texture*>& textures) {
    file.createChunk(0, CAIRN_TEXTURE_LIST_VERSION);
    file.writeCount(textures.size());
    for (const CN_Texture* texture : textures)
        file << *texture;
    file.closeChunk();
    return file;
}

F_MemoryFile& operator>>(F_MemoryFile& file, CN_TextureList& list) {
    F_MemoryFile::Chunk chunk;
    file.openChunk(chunk, 0);
    F_MemoryFile& in = chunk.getMemoryFile();
    // A count beyond what follows ends the loop where the textures do; nothing is reserved for it.
    unsigned int count = 0;
    in >> count;
    unsigned int number = 0;
    while (number < count && list.loadTexture(in, number + 1))
        ++number;
    if (number < count) {
        list.report("repaired", formatText("The list of textures breaks off behind %u of %u", number, count));
        chunk.ignoreRest();
    }
    file.skipChunk();
    return file;
}

/// Reads the next texture, and steps over one that cannot be read. False where not even that can be done, because no
/// chunk stands there.
bool CN_TextureList::loadTexture(F_MemoryFile& file, unsigned int number) {
    CN_Texture* const texture = addNew();
    try {
        file >> *texture;
        return true;
    } catch (F_MemoryException_Allocation*) {
        remove(texture);
        throw;
    } catch (F_Exception* e) {
        const F_ExceptionGuard guard(e);
        remove(texture);
        report("repaired", formatText("The texture %u was dropped: %s", number, e->getErrorMessage().c_str()));
    } catch (...) {
        remove(texture);
        throw;
    }
    try {
        F_MemoryFile::Chunk dropped;
        file.peekChunk(dropped);
        if (!dropped.isValid())
            return false;
        dropped.ignoreRest();
        file.skipChunk();
        return true;
    } catch (F_Exception* e) {
        const F_ExceptionGuard guard(e);
        return false;
    }
}

} // namespace cairn
