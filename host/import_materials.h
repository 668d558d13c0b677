#pragma once

#include "host/import_images.h"

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>

namespace cairn {
class CN_Document;
class CN_Material;
class CN_MaterialsCategory;
class CN_Texture;
} // namespace cairn

namespace cairn::host {

/// Makes the materials of an import in one category of the document, each once, with its image from a file or a small
/// generated one.
class ImportMaterials {
  public:
    /// The side of generated images in texels: how large a texture counts whose file is not there.
    static constexpr int GENERATED_SIZE = 64;

    /// More are not made: each takes about 45 kB of memory, most of it its icons.
    static constexpr std::size_t MAX_MATERIALS = 16384;

    /// What became of the names.
    struct Counts {
        std::size_t found = 0;         ///< with an image of the folder
        std::size_t generated = 0;     ///< with a generated one
        std::size_t undecoded = 0;     ///< of these, whose image does not decode
        std::string firstUndecoded;    ///< the name of the first such image
        std::set<std::string> outside; ///< names of images that lead out of the folder, and so were not taken
    };

    /// `category` is made when the first material is. `scale` is the texels to a unit of the level by which the library
    /// sizes the texture. `images` must outlive this.
    ImportMaterials(CN_Document& document, std::string category, double scale, const ImportImages& images);

    /// The material of that name and image, the name without regard to case: names of a level's materials differ by more. One
    /// whose name another has with another image gets a number ahead. `image` names the image file, the material's own name
    /// where it is empty. Valid as long as the document keeps it. Throws an `F_Exception*` beyond `MAX_MATERIALS`.
    CN_Material& get(std::string_view name, std::string_view image = {});
    const Counts& getCounts() const { return m_counts; }

  private:
    CN_Texture* takeFile(const std::filesystem::path& file);
    CN_Texture& generate(std::string_view name);
    CN_Texture& addTexture(const std::string& name, int format, const std::vector<unsigned char>& bytes);

    CN_Document& m_document;
    std::string m_categoryName;
    int m_scale;
    const ImportImages& m_images;
    CN_MaterialsCategory* m_category = nullptr; ///< not owned; null before the first material
    /// Not owned, by name in small letters and image.
    std::map<std::pair<std::string, std::string>, CN_Material*> m_materials;
    std::map<std::string, CN_Texture*> m_textures; ///< not owned: by file
    Counts m_counts;
};

/// What new walls are made of: the document's default material, which is made with a small picture where there is none yet.
CN_Material* requireWallMaterial(CN_Document& document);

} // namespace cairn::host
