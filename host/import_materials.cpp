#include "host/import_materials.h"

#include "cairn/document/document.h"
#include "cairn/foundation/ascii.h"
#include "cairn/foundation/exception.h"
#include "cairn/foundation/file.h"
#include "cairn/materials/material.h"
#include "cairn/materials/materials_category.h"
#include "host/png_writer.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>

namespace cairn::host {

namespace {

/// A number of a name that is the same everywhere (FNV-1a, 32 bits).
std::uint32_t numberOf(std::string_view name) {
    std::uint32_t hash = 2166136261u;
    for (const char c : name)
        hash = (hash ^ static_cast<unsigned char>(c)) * 16777619u;
    return hash;
}

/// Four light and four dark fields of a colour that the name gives, with a frame: repeats and directions show.
std::vector<unsigned char> drawImage(std::string_view name) {
    constexpr int SIZE = ImportMaterials::GENERATED_SIZE;
    const std::uint32_t hash = numberOf(name);
    const auto channel = [&](int shift) { return static_cast<int>(64 + ((hash >> shift) & 127)); };
    const int rgb[3] = {channel(0), channel(8), channel(16)};
    std::vector<I_Color> pixels;
    pixels.reserve(SIZE * SIZE);
    for (int y = 0; y < SIZE; ++y)
        for (int x = 0; x < SIZE; ++x) {
            const bool frame = x == 0 || y == 0 || x == SIZE - 1 || y == SIZE - 1;
            const int more = frame ? -40 : ((x ^ y) & 16) != 0 ? 24 : 0;
            const auto shade = [&](int i) { return static_cast<unsigned char>(rgb[i] + more); };
            pixels.emplace_back(shade(0), shade(1), shade(2));
        }
    return encodePng(pixels.data(), SIZE, SIZE);
}

} // namespace

ImportMaterials::ImportMaterials(CN_Document& document, std::string category, double scale, const ImportImages& images)
    : m_document(document), m_categoryName(std::move(category)),
      m_scale(static_cast<int>(std::clamp(std::round(scale), 1.0, 1e6))), m_images(images) {}

CN_Material& ImportMaterials::get(std::string_view name, std::string_view image) {
    std::pair key(asciiLowered(name), std::string(image));
    if (const auto known = m_materials.find(key); known != m_materials.end() && known->second)
        return *known->second;
    if (m_materials.size() >= MAX_MATERIALS)
        throw new F_Exception(fmt::format("There are more than {} materials", MAX_MATERIALS));
    CN_Material*& material = m_materials[std::move(key)];
    CN_Texture* texture = nullptr;
    const std::string_view wanted = image.empty() ? name : image;
    if (const auto file = m_images.find(wanted))
        texture = takeFile(*file);
    else if (m_images.leadsOutside(wanted))
        m_counts.outside.emplace(wanted);
    if (texture)
        ++m_counts.found;
    else {
        texture = &generate(name);
        ++m_counts.generated;
    }
    if (!m_category)
        m_category = m_document.accessMaterials().addCategory(&m_document.accessTextures(), CString(m_categoryName));
    material = m_category->add(m_scale, texture->name().str().c_str(), nullptr);
    if (!material)
        throw new F_Exception("A material cannot be made");
    material->setName(CString(string(name)));
    m_category->setUniqueName(material, false);
    return *material;
}

/// The texture of that file; null where it cannot be read or decoded.
CN_Texture* ImportMaterials::takeFile(const std::filesystem::path& file) {
    const std::string name = m_images.nameInside(file);
    const auto [at, isNew] = m_textures.try_emplace(name, nullptr);
    if (!isNew)
        return at->second;
    try {
        const auto bytes = F_File::readAll(file.string(), {static_cast<std::size_t>(CN_Texture::MAX_SOURCE_SIZE)});
        at->second = &addTexture(name, I_Image::determineImageFormat(name.c_str()), bytes);
    } catch (F_MemoryException_Allocation*) {
        throw;
    } catch (F_Exception* e) {
        F_ExceptionGuard guard(e);
        if (m_counts.undecoded++ == 0)
            m_counts.firstUndecoded = name;
    }
    return at->second;
}

CN_Texture& ImportMaterials::generate(std::string_view name) {
    return addTexture(std::string(name) + ".png", I_Image::PNG, drawImage(name));
}

CN_Texture& ImportMaterials::addTexture(const std::string& name, int format, const std::vector<unsigned char>& bytes) {
    CN_TextureList& list = m_document.accessTextures();
    CN_Texture* texture = list.addNew();
    try {
        // A NUL would end the name, and one that begins with it would be none.
        std::string plain = name;
        std::replace_if(
            plain.begin(), plain.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; }, '_');
        texture->setName(plain.c_str());
        list.setUniqueName(texture);
        texture->setSourceFormat(static_cast<I_Image::Format>(format));
        auto copy = std::make_unique<unsigned char[]>(std::max<std::size_t>(bytes.size(), 1));
        std::copy(bytes.begin(), bytes.end(), copy.get());
        texture->setSource(copy.release(), static_cast<int>(bytes.size()), true);
    } catch (...) {
        list.remove(texture);
        throw;
    }
    return *texture;
}

CN_Material* requireWallMaterial(CN_Document& document) {
    if (CN_Material* const known = document.getMaterials().getDefaultMaterial())
        return known;
    constexpr double TEXELS_A_UNIT = 32;
    const ImportImages none;
    return &ImportMaterials(document, "Default", TEXELS_A_UNIT, none).get("wall");
}

} // namespace cairn::host
