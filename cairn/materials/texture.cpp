#include "cairn/materials/texture.h"

#include "cairn/foundation/file.h"
#include "cairn/foundation/memory_file.h"
#include "cairn/materials/texture_list.h"
#include "cairn/platform/handlers.h"

#include <cstdlib>
#include <cstring>
#include <utility>

namespace cairn {

namespace {

std::unique_ptr<I_Image> decode(I_Image::Format format, const void* bytes, int size) {
    auto image = std::make_unique<I_Image>();
    image->construct(format, static_cast<const char*>(bytes), size);
    return image;
}

/// The bytes of an image file, which is named by whoever wrote a level: no device is opened, and no file that could
/// not be an image's.
std::unique_ptr<unsigned char[]> readImageFile(const char* fileName, int& size) {
    struct Free {
        void operator()(void* p) const { std::free(p); }
    };
    size = File->size(fileName);
    if (size > CN_Texture::MAX_SOURCE_SIZE)
        throw new F_Exception(formatText("\"%s\" is too large for an image: %d bytes", fileName, size));
    const std::unique_ptr<void, Free> loaded(File->load("Cairn Application", fileName, size));
    auto bytes = std::make_unique_for_overwrite<unsigned char[]>(static_cast<std::size_t>(size));
    std::memcpy(bytes.get(), loaded.get(), static_cast<std::size_t>(size));
    return bytes;
}

} // namespace

CN_Texture::CN_Texture() = default;

CN_Texture::CN_Texture(const char* fileName) { construct(fileName); }

CN_Texture::~CN_Texture() = default;

void CN_Texture::construct() {
    destruct();
    m_constructed = true;
}

void CN_Texture::construct(const char* fileName) {
    construct();
    setName(fileName);
    try {
        load(fileName);
    } catch (...) {
        destruct();
        throw;
    }
}

void CN_Texture::destruct() {
    if (!m_constructed)
        return;
    takeSource(nullptr, 0);
    forgetImage();
    m_parent = nullptr;
    m_materialRefs = 0;
    m_sourceFormat = I_Image::UNSUPPORTED;
    m_constructed = false;
}

CString& CN_Texture::editName() {
    if (m_holder)
        m_holder->nameWillChange(*this);
    return m_name;
}

bool CN_Texture::load(const char* fileName) {
    I_Image::Format format = I_Image::UNSUPPORTED;
    std::unique_ptr<unsigned char[]> bytes;
    int size = 0;
    try {
        format = I_Image::determineImageFormat(fileName);
        bytes = readImageFile(fileName, size);
    } catch (F_MemoryException_Allocation*) {
        throw;
    } catch (F_Exception* e) {
        const F_ExceptionGuard guard(e);
        return false;
    }
    std::unique_ptr<I_Image> image;
    try {
        image = decode(format, bytes.get(), size);
    } catch (I_ImageException* e) {
        const F_ExceptionGuard guard(e);
        takeSource(nullptr, 0);
        forgetImage();
        m_sourceFormat = format;
        e->show(MB_SYSTEMMODAL);
        return false;
    }
    takeImage(*image);
    setName(fileName);
    takeSource(std::move(bytes), size);
    m_sourceFormat = format;
    return true;
}

void CN_Texture::takeSource(std::unique_ptr<unsigned char[]> bytes, int size) {
    m_ownedSource = std::move(bytes);
    m_source = m_ownedSource.get();
    m_sourceSize = size;
}

void CN_Texture::takeImage(const I_Image& image) {
    createRenderTexture(image);
    m_width = image.getWidth();
    m_height = image.getHeight();
}

void CN_Texture::forgetImage() {
    m_renderTexture.reset();
    m_width = m_height = 0;
    m_isCube = false;
}

void CN_Texture::createRenderTexture(const I_Image& image) {
    m_renderTexture = std::make_unique<CN_RenderTexture>(this);
    m_isCube = image.getSurfaceHeader() && image.getSurfaceHeader()->isCube();
}

void CN_Texture::setSource(void* data, int size, bool freeOld) {
    if (size < 0)
        throw new F_Exception(formatText("A texture's source cannot have %d bytes", size));
    if (data != m_source) {
        if (!freeOld)
            static_cast<void>(m_ownedSource.release());
        m_ownedSource.reset(m_sourceFormat != I_Image::UNSUPPORTED ? static_cast<unsigned char*>(data) : nullptr);
    }
    m_source = data;
    m_sourceSize = data ? size : 0;
    if (!data)
        return;
    forgetImage();
    takeImage(*decode(m_sourceFormat, m_source, m_sourceSize));
}

I_Image* CN_Texture::getImage() const { return decode(m_sourceFormat, m_source, m_sourceSize).release(); }

void CN_Texture::getDefaultScale(double& u, double& v, int scale) const {
    u = static_cast<double>(m_width) / scale;
    v = static_cast<double>(m_height) / scale;
}

bool CN_Texture::operator==(const CN_Texture& other) const {
    if (m_name != other.m_name || m_width != other.m_width || m_height != other.m_height ||
        m_sourceFormat != other.m_sourceFormat)
        return false;
    if (!m_source || !other.m_source)
        return !m_source && !other.m_source;
    return m_sourceSize == other.m_sourceSize &&
           std::memcmp(m_source, other.m_source, static_cast<std::size_t>(m_sourceSize)) == 0;
}

// Version 1: unsigned int format, int size of the source, name, source.

F_MemoryFile& operator<<(F_MemoryFile& file, const CN_Texture& texture) {
    file.createChunk(0, CAIRN_TEXTURE_VERSION);
    file << static_cast<unsigned int>(texture.getSourceFormat()) << texture.getSourceSize() << texture.name();
    if (texture.getSourceSize() > 0)
        file.write(texture.getSource(), texture.getSourceSize());
    file.closeChunk();
    return file;
}

F_MemoryFile& operator>>(F_MemoryFile& file, CN_Texture& texture) {
    F_MemoryFile::Chunk chunk;
    file.openChunk(chunk, 0);
    F_MemoryFile& in = chunk.getMemoryFile();
    CN_TextureList* const list = texture.getParent();
    unsigned int format = 0;
    int size = 0;
    CString name;
    in >> format >> size >> name;
    if (name.IsEmpty()) {
        AfxMessageBox("Problems loading texture; trying to continue.\nTake this file to Pim.");
        name = list ? list->makeName() : CString("NONAME00");
        if (list)
            list->report("repaired", formatText("A texture had no name; it is called \"%s\"", name.GetString()));
    }
    if (size <= 0 || static_cast<std::size_t>(size) > in.getRemaining())
        in.fail(formatText("The texture \"%s\" cannot have a source of %d bytes, where %zu are left", name.GetString(),
                           size, in.getRemaining()));
    auto bytes = std::make_unique_for_overwrite<unsigned char[]>(static_cast<std::size_t>(size));
    in.read(bytes.get(), size);

    texture.editName() = name;
    texture.takeSource(std::move(bytes), size);
    texture.setSourceFormat(static_cast<I_Image::Format>(format));
    texture.forgetImage();
    try {
        texture.takeImage(*decode(texture.getSourceFormat(), texture.getSource(), size));
    } catch (F_MemoryException_Allocation*) {
        throw;
    } catch (F_Exception* e) {
        const F_ExceptionGuard guard(e);
        const F_Exception named(formatText("%s (%s)", e->getErrorMessage().c_str(), name.GetString()));
        named.show(MB_SYSTEMMODAL);
        if (list)
            list->report("texture-undecoded", named.getErrorMessage());
    }
    file.skipChunk();
    return file;
}

} // namespace cairn
