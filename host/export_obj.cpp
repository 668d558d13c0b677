#include "host/export_obj.h"

#include "cairn/foundation/ascii.h"
#include "cairn/materials/material.h"
#include "cairn/materials/materials_category.h"
#include "host/console.h"
#include "host/entity_text.h"
#include "host/export_images.h"
#include "host/safe_file_names.h"
#include "host/text.h"

#include <array>
#include <map>
#include <unordered_map>

namespace cairn::host {

namespace {

using Vector = M_Vector3Template<double>;

/// A name as one word of a line; what would end the word or begin a comment becomes "_".
std::string toWord(std::string_view name) {
    std::string word;
    for (const char c : toUtf8(name))
        word += asciiIsSpace(c) || static_cast<unsigned char>(c) < 0x20 || c == 0x7F || c == '#' ? '_' : c;
    return word.empty() ? "_" : word;
}

/// The file's name without its folders and its ending.
std::string_view stemOf(std::string_view path) {
    path.remove_prefix(path.find_last_of("/\\") + 1); // npos + 1 is 0
    return path.substr(0, path.rfind('.'));
}

/// Gives places, from 1 on, to lines of three numbers, and writes each line once.
class LineTable {
  public:
    LineTable(std::string& out, const char* keyword) : m_out(out), m_keyword(keyword) {}

    int place(double x, double y, double z) { return place({x, y, z}, 3); }
    int place(double x, double y) { return place({x, y, 0}, 2); }
    /// Lines from now on are new ones: those written before are another object's.
    void forget() { m_places.clear(); }

  private:
    int place(const std::array<double, 3>& numbers, std::size_t count) {
        std::string line;
        for (std::size_t i = 0; i < count; ++i)
            line += ' ' + toNumberText(numbers[i] == 0 ? 0 : numbers[i]); // a zero has no sign
        const auto [it, isNew] = m_places.try_emplace(std::move(line), m_written + 1);
        if (isNew) {
            ++m_written;
            m_out += m_keyword + it->first + '\n';
        }
        return it->second;
    }

    std::string& m_out;
    std::string m_keyword;
    std::unordered_map<std::string, int> m_places; ///< never walked
    int m_written = 0;
};

class ObjWriter {
  public:
    ObjWriter(ExportScene& scene, const std::string& objName) : m_scene(scene), m_objName(objName) {
        m_fileNames.make(objName, "");
    }

    std::vector<ExportFile> write() {
        // Readers end a name at a blank.
        const std::string mtlName = m_fileNames.make(toWord(stemOf(m_objName)), ".mtl");
        m_obj = "mtllib " + mtlName + '\n';
        for (const ExportNode& node : m_scene.nodes) {
            if (!node.surfaces.empty())
                addObject(node);
            Progress::count();
        }
        m_files.push_back(fileOf(mtlName, m_mtl));
        m_files.push_back(fileOf(m_objName, m_obj));
        return std::move(m_files);
    }

  private:
    static ExportFile fileOf(const std::string& name, const std::string& text) {
        return {name, {text.begin(), text.end()}};
    }

    /// Points are shared inside an object, so that what is closed stays closed.
    void addObject(const ExportNode& node) {
        m_obj += "o " + toWord(qualifiedName(*node.entity)) + '\n';
        m_points.forget();
        const bool isMirrored = node.entity->getWorldRotation().determinant() < 0; // in the world loops run back then
        for (const ExportSurface& surface : node.surfaces) {
            std::vector<std::array<int, 3>> corners;
            for (std::size_t i = 0; i < surface.positions.size(); ++i)
                corners.push_back(addCorner(*node.entity, surface, i));
            m_obj += "usemtl " + materialOf(surface.material) + '\n';
            for (std::size_t i = 0; i < surface.indices.size(); i += 3) {
                m_obj += 'f';
                for (const std::size_t corner : {i, isMirrored ? i + 2 : i + 1, isMirrored ? i + 1 : i + 2}) {
                    const auto& [v, vt, vn] = corners[surface.indices[corner]];
                    m_obj += ' ' + std::to_string(v) + '/' + std::to_string(vt) + '/' + std::to_string(vn);
                }
                m_obj += '\n';
            }
        }
    }

    std::array<int, 3> addCorner(const CN_LevelEntity& entity, const ExportSurface& surface, std::size_t i) {
        const Vector point = acrossBorder(entity.worldTransform(acrossBorder(surface.positions[i])));
        const Vector normal = normalInWorld(entity, surface.normals[i]);
        const M_Vector2Template<double>& uv = surface.uvs[i];
        return {m_points.place(point.x, point.y, point.z), m_uvs.place(uv.x, 1 - uv.y), // v runs up here
                m_normals.place(normal.x, normal.y, normal.z)};
    }

    /// By the transpose of the inverse: a normal stays upright on what a placement scales.
    static Vector normalInWorld(const CN_LevelEntity& entity, const Vector& normal) {
        const CN_LevelEntity::Matrix& rotation = entity.getWorldRotation();
        if (!rotation.isInvertible())
            return normal;
        return acrossBorder(acrossBorder(normal) * rotation.inverse().transposed()).normalized(normal);
    }

    /// The word that the material goes by, which is its alone.
    const std::string& materialOf(const CN_Material* from) {
        const auto [it, isNew] = m_materials.try_emplace(from);
        if (!isNew)
            return it->second;
        it->second = uniqueWord(from ? toWord(from->name().view()) : "none");
        const std::string image = from && from->getTexture() ? imageOf(*from->getTexture()) : std::string();
        const char* const colour = image.empty() ? "0.8 0.8 0.8" : "1 1 1";
        m_mtl += "newmtl " + it->second + "\nKd " + colour + "\nillum 1\n";
        if (!image.empty())
            m_mtl += "map_Kd " + image + '\n';
        if (!image.empty() && from->isAlpha())
            m_mtl += "map_d " + image + '\n';
        return it->second;
    }

    std::string uniqueWord(const std::string& word) {
        int& next = m_words.try_emplace(word, 1).first->second;
        if (next++ == 1)
            return word;
        for (;; ++next)
            if (std::string numbered = word + '_' + std::to_string(next - 1); m_words.try_emplace(numbered, 2).second)
                return numbered;
    }

    /// The name of the image's file, which it adds; empty for a texture that does not decode.
    const std::string& imageOf(const CN_Texture& from) {
        const auto [it, isNew] = m_images.try_emplace(&from);
        if (!isNew)
            return it->second;
        if (from.getWidth() == 0) {
            m_scene.lose("textures do not decode and are left out", std::string(from.name().view()));
            return it->second;
        }
        const ExportImage image(from, true);
        it->second = m_fileNames.make(toWord(stemOf(from.name().view())), image.ending());
        m_files.push_back({it->second, {image.bytes().begin(), image.bytes().end()}});
        return it->second;
    }

    ExportScene& m_scene;
    const std::string& m_objName;
    std::vector<ExportFile> m_files;
    SafeFileNames m_fileNames;
    std::string m_obj, m_mtl;
    LineTable m_points{m_obj, "v"}, m_uvs{m_obj, "vt"}, m_normals{m_obj, "vn"};
    std::unordered_map<const CN_Material*, std::string> m_materials; ///< words; never walked
    std::map<std::string, int> m_words;                              ///< given, with the number to try next
    std::unordered_map<const CN_Texture*, std::string> m_images;     ///< file names; never walked
};

} // namespace

std::vector<ExportFile> writeObj(ExportScene& scene, const std::string& objName) {
    return ObjWriter(scene, objName).write();
}

} // namespace cairn::host
