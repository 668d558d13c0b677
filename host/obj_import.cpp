#include "host/obj_import.h"

#include "cairn/document/document.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/foundation/exception.h"
#include "cairn/foundation/file.h"
#include "cairn/geometry/validate.h"
#include "host/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <map>
#include <set>
#include <unordered_map>

namespace cairn::host {

namespace {

using Vector = M_Vector3Template<double>;
using Vector2 = M_Vector2Template<double>;

/// A place by the bits of its coordinates, none of which is a negative 0.
struct PlaceHash {
    std::size_t operator()(const Vector& place) const {
        std::size_t hash = 0;
        for (const double c : {place.x, place.y, place.z})
            hash = (hash ^ std::hash<double>()(c)) * 0x9E3779B97F4A7C15u;
        return hash ^ hash >> 32;
    }
};
struct PlaceEqual {
    bool operator()(const Vector& a, const Vector& b) const { return a.x == b.x && a.y == b.y && a.z == b.z; }
};

using Loop = std::vector<std::uint32_t>; // of places in the mesh's corners
using Loops = std::vector<Loop>;

/// The loops that are left of one when the edges that it runs along both ways go: outlines and holes that slits join.
Loops withoutSlits(const Loop& corners) {
    Loops loops;
    const auto keep = [&loops](Loop loop) {
        while (loop.size() > 1 && loop.front() == loop.back())
            loop.pop_back();
        if (loop.size() > 2)
            loops.push_back(std::move(loop));
    };
    Loop path{corners[0]};
    std::map<std::pair<std::uint32_t, std::uint32_t>, std::size_t> starts; // of the path's edges, in it
    for (std::size_t i = 1; i <= corners.size(); ++i) {
        const std::uint32_t from = path.back(), to = corners[i < corners.size() ? i : 0];
        if (const auto slit = starts.find({to, from}); slit != starts.end()) {
            // What lies between going along it and coming back is a loop.
            const std::size_t start = slit->second;
            keep({path.begin() + static_cast<std::ptrdiff_t>(start) + 1, path.end()});
            for (; path.size() > start + 1; path.pop_back())
                starts.erase({path[path.size() - 2], path.back()});
        } else if (i < corners.size()) {
            starts.emplace(std::pair(from, to), path.size() - 1);
            path.push_back(to);
        }
    }
    keep(std::move(path));
    return loops;
}

/// Makes the mesh of one group.
class GroupMaker {
  public:
    GroupMaker(const ObjFile& object, double scale, ObjImportSummary& summary)
        : m_object(object), m_scale(scale), m_summary(summary) {}

    void add(const ObjFace& source, CN_Material& material) {
        ImportFace face;
        std::vector<Vector2> coordinates;
        bool mapped = true;
        // The z axis is mirrored: the loop runs the other way round.
        for (std::uint32_t i = source.cornerCount; i-- > 0;) {
            const ObjCorner& corner = m_object.corners[source.firstCorner + i];
            const std::uint32_t number = numberOf(m_object.positions[corner.position]);
            if (!face.corners.empty() && face.corners.back() == number)
                continue;
            face.corners.push_back(number);
            mapped = mapped && corner.coordinate >= 0;
            // Theirs count from the lower left corner of the picture, ours from the upper.
            const Vector2 uv = mapped ? m_object.coordinates[static_cast<std::size_t>(corner.coordinate)] : Vector2();
            coordinates.emplace_back(uv.x, 1 - uv.y);
        }
        while (face.corners.size() > 1 && face.corners.front() == face.corners.back()) {
            face.corners.pop_back();
            coordinates.pop_back();
        }
        if (!findNormal(face)) {
            if (m_summary.flat++ == 0)
                m_summary.firstFlatLine = source.line;
            return;
        }
        face.material = &material;
        face.line = source.line;
        if (mapped)
            map(face, coordinates);
        addParts(face);
    }
    ImportMesh& mesh() { return m_mesh; }

  private:
    std::uint32_t numberOf(const Vector& position) {
        // Adding 0 makes a negative 0 a positive one.
        const Vector place(position.x * m_scale + 0.0, position.y * m_scale + 0.0, -position.z * m_scale + 0.0);
        const auto [at, isNew] = m_numbers.try_emplace(place, static_cast<std::uint32_t>(m_mesh.corners.size()));
        if (isNew)
            m_mesh.corners.push_back(place);
        return at->second;
    }

    /// False where the corners lie on a line.
    bool findNormal(ImportFace& face) {
        if (face.corners.size() < 3)
            return false;
        const Vector normal = loopNormal(m_mesh.corners, face.corners);
        const Vector& first = m_mesh.corners[face.corners[0]];
        double extent = 0;
        for (const std::uint32_t corner : face.corners)
            extent = std::max(extent, (m_mesh.corners[corner] - first).length());
        const double size = normal.length();
        if (!(size > 1e-12 * extent * extent))
            return false;
        face.normal = normal / size;
        Vector middle;
        for (const std::uint32_t corner : face.corners)
            middle += m_mesh.corners[corner] / static_cast<double>(face.corners.size());
        m_summary.bent += std::any_of(face.corners.begin(), face.corners.end(), [&](std::uint32_t corner) {
            return std::abs((m_mesh.corners[corner] - middle).dot(face.normal)) > CN_LEVEL_TOLERANCE;
        });
        return true;
    }

    /// Adds the face: a polygon for each outline that slits join, with the holes that lie in it. A face without any outline
    /// stays as it is.
    void addParts(const ImportFace& face) {
        Loops loops = withoutSlits(face.corners);
        const auto holes = std::stable_partition(loops.begin(), loops.end(), [&](const Loop& loop) {
            return loopNormal(m_mesh.corners, loop).dot(face.normal) > 0;
        });
        const std::size_t first = m_mesh.faces.size();
        for (auto outline = loops.begin(); outline != holes; ++outline) {
            m_mesh.faces.push_back(face);
            m_mesh.faces.back().corners = std::move(*outline);
        }
        if (holes == loops.begin())
            m_mesh.faces.push_back(face);
        else
            for (auto hole = holes; hole != loops.end(); ++hole)
                outlineAround(*hole, first).holes.push_back(*hole);
    }

    /// The narrowest of the outlines from face `first` on that has the loop within; the first where none has.
    ImportFace& outlineAround(const Loop& loop, std::size_t first) {
        const Vector place = (m_mesh.corners[loop[0]] + m_mesh.corners[loop[1]]) / 2.0;
        std::size_t found = first;
        double least = std::numeric_limits<double>::infinity();
        for (std::size_t i = first; i < m_mesh.faces.size() && m_mesh.faces.size() > first + 1; ++i) {
            const double size = loopNormal(m_mesh.corners, m_mesh.faces[i].corners).length();
            if (size < least && isWithin(place, m_mesh.faces[i])) {
                least = size;
                found = i;
            }
        }
        return m_mesh.faces[found];
    }

    /// Whether the outline of a face goes round a place in its plane: an odd number of edges crosses a ray from there.
    bool isWithin(const Vector& place, const ImportFace& face) const {
        const auto side = [&](const Vector& a, const Vector& b) { return (b - a).cross(place - a).dot(face.normal); };
        const Vector along = m_mesh.corners[face.corners[1]] - m_mesh.corners[face.corners[0]];
        const Vector up = face.normal.cross(along);
        bool within = false;
        for (std::size_t i = 0; i < face.corners.size(); ++i) {
            const Vector& a = m_mesh.corners[face.corners[i]];
            const Vector& b = m_mesh.corners[face.corners[(i + 1) % face.corners.size()]];
            const bool rises = (a - place).dot(up) <= 0;
            if (rises != ((b - place).dot(up) <= 0) && (side(a, b) > 0) == rises)
                within = !within;
        }
        return within;
    }

    void map(ImportFace& face, const std::vector<Vector2>& coordinates) {
        std::vector<Vector> corners;
        for (const std::uint32_t corner : face.corners)
            corners.push_back(m_mesh.corners[corner]);
        face.mapping = fitMapping(corners, coordinates, face.normal);
        m_summary.unmapped += face.mapping ? 0u : 1u;
    }

    const ObjFile& m_object;
    double m_scale;
    ObjImportSummary& m_summary;
    ImportMesh m_mesh;
    std::unordered_map<Vector, std::uint32_t, PlaceHash, PlaceEqual> m_numbers; ///< of the corner at each place
};

/// All names of a `mtllib`: the whole rest of its line where there is such a file, else its words.
std::vector<std::string_view> namesOf(std::string_view line, const std::filesystem::path& folder) {
    if (fileInside(folder, line))
        return {line};
    std::vector<std::string_view> names;
    while (!(line = asciiTrimmed(line)).empty()) {
        std::size_t length = 0;
        while (length < line.size() && !asciiIsSpace(line[length]))
            ++length;
        names.push_back(line.substr(0, length));
        line.remove_prefix(length);
    }
    return names;
}

} // namespace

ObjImages readObjMaterials(const ObjFile& object, const std::filesystem::path& folder,
                           std::vector<ImportFinding>& findings) {
    ObjImages images;
    std::set<std::string_view> done;
    for (const ObjLibrary& library : object.libraries)
        for (const std::string_view name : namesOf(library.name, folder)) {
            if (!done.insert(name).second || findings.size() == MapImportSummary::MAX_FINDINGS)
                continue;
            const auto file = fileInside(folder, name);
            if (!file) {
                findings.push_back(
                    {library.line,
                     fmt::format("the file of materials \"{}\" is not in the object's folder", shownPiece(name))});
                continue;
            }
            const std::vector<unsigned char> bytes = F_File::readAll(file->string(), {MAX_OBJ_BYTES});
            const std::string text(bytes.begin(), bytes.end());
            // Images lie where the file that names them says, counted from its own folder.
            std::string ahead(name);
            std::replace(ahead.begin(), ahead.end(), '\\', '/');
            ahead.erase(ahead.rfind('/') + 1);
            for (const MtlMaterial& material : readMtl(text))
                if (!material.image.empty())
                    images.emplace(material.name, ahead + std::string(material.image));
        }
    return images;
}

ObjImportSummary importObj(const ObjFile& object, const ObjImages& images, const std::string& name, double scale,
                           ImportMaterials& materials, CN_Document& document) {
    ObjImportSummary summary;
    summary.passedOver = object.passedOver;
    summary.firstPassedOver = object.firstPassedOver;
    std::vector<GroupMaker> groups(object.groups.size(), GroupMaker(object, scale, summary));
    for (const ObjFace& face : object.faces) {
        const std::string_view material = object.materials[face.material];
        const auto image = images.find(material);
        groups[face.group].add(
            face, materials.get(material.empty() ? "default" : material, image == images.end() ? "" : image->second));
    }
    for (std::size_t i = 0; i < groups.size(); ++i) {
        ImportMesh& mesh = groups[i].mesh();
        if (mesh.faces.empty())
            continue;
        const ObjGroup& group = object.groups[i];
        mesh.name = toEntityName(!group.group.empty() ? group.group : !group.object.empty() ? group.object : name);
        addImportMesh(mesh, *document.accessLevel(), summary.meshes);
    }
    numberPolygons(document);
    summary.materials = materials.getCounts();
    return summary;
}

std::string ObjImportSummary::text() const {
    std::string text = fmt::format("imported {} of {}", counted(meshes.polygons, "polygon", "polygons"),
                                   counted(meshes.meshes, "mesh", "meshes"));
    text += meshText(meshes, materials);
    if (unmapped > 0)
        text += fmt::format("; {} the usual axes for texture coordinates that no plane has",
                            counted(unmapped, "polygon has", "polygons have"));
    if (bent > 0)
        text += fmt::format("; {} not planar", counted(bent, "polygon is", "polygons are"));
    if (flat > 0)
        text += fmt::format("; {} left out, the first on line {}",
                            counted(flat, "face without area", "faces without area"), firstFlatLine);
    if (passedOver > 0)
        text += fmt::format("; {} not imported, the first on line {}",
                            counted(passedOver, "point, line or curve", "points, lines and curves"), firstPassedOver);
    return text;
}

} // namespace cairn::host
