#include "cairn/animation/animation_interface.h"
#include "cairn/animation/keyframes.h"
#include "cairn/document/level_file.h"
#include "cairn/document/selection.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/dyn_pointlight.h"
#include "cairn/materials/material.h"
#include "cairn/materials/materials_category.h"
#include "host/export_motion.h"
#include "tests/host/gltf_file.h"
#include "tests/host/program_run.h"
#include "tests/support/full_level.h"
#include "tests/support/image_files.h"
#include "tests/support/mesh_shelf.h"

#include <gmock/gmock.h>

#include <set>
#include <sstream>

namespace cairn::host {
namespace {

using test::GltfFile;
using test::ProgramRun;
using testing::HasSubstr;
using Json = GltfFile::Json;
using Vector = M_Vector3Template<double>;
using Matrix = M_Matrix3Template<double>;

/// A texture of the document, of an uncompressed TGA in one colour or of the bytes given.
CN_Texture* addTexture(CN_Document& document, const char* name,
                       const test::Bytes& bytes = test::makeTga(2, 2, 10, 20, 30),
                       I_Image::Format format = I_Image::TGA) {
    CN_Texture* const texture = document.accessTextures().addNew();
    texture->setName(name);
    test::setSource(*texture, bytes, format);
    return texture;
}

/// A room of 8 x 4 x 6 with its triangles; every face shows the texture upright to who stands inside, a repeat a unit.
CN_LevelEntityMesh& makeArrowRoom(CN_Document& document) {
    addTexture(document, "pic/arrow.tga");
    document.accessMaterials().setList(&document.accessTextures());
    CN_Material* const arrow =
        document.accessMaterials().addCategory(&document.accessTextures(), "Signs")->add(64, "pic/arrow.tga", nullptr);
    arrow->setName("big arrow");
    CN_LevelEntityMesh& room = *test::boxRoom(document);
    for (CN_Polygon& polygon : room.accessPolygonList()) {
        const Vector normal = polygon.getNormal();
        const Vector up = normal.y == 0 ? Vector(0, 1, 0) : Vector(0, 0, 1);
        const Vector right = normal.cross(up); // of who looks against the normal in a left-handed space
        polygon.accessUVSpaces()[0].space = CN_Polygon::PlanarSpace(Matrix(right, -up, normal), {0, 0, 0}, {});
        polygon.setMaterial(arrow);
    }
    return room;
}

Vector toVector(const GltfFile::Row& row) { return {row.at(0), row.at(1), row.at(2)}; }

/// A triangle of an export: what both formats must agree on.
struct Face {
    Vector corner[3];
    double u[3], v[3]; ///< v downwards
    Vector normal;
};

std::vector<Face> facesOf(const GltfFile& file, const Json& node) {
    std::vector<Face> faces;
    for (const Json& primitive : file.json()["meshes"].at(node["mesh"].get<std::size_t>())["primitives"]) {
        const auto positions = file.rows(primitive["attributes"]["POSITION"]);
        const auto normals = file.rows(primitive["attributes"]["NORMAL"]);
        const auto uvs = file.rows(primitive["attributes"]["TEXCOORD_0"]);
        const auto indices = file.rows(primitive["indices"]);
        for (std::size_t i = 0; i < indices.size(); ++i) {
            if (i % 3 == 0)
                faces.emplace_back();
            const auto at = static_cast<std::size_t>(indices[i][0]);
            faces.back().corner[i % 3] = toVector(positions[at]);
            faces.back().u[i % 3] = uvs[at][0];
            faces.back().v[i % 3] = uvs[at][1];
            faces.back().normal = toVector(normals[at]);
        }
    }
    return faces;
}

std::vector<Face> facesOfObj(const std::string& text) {
    std::vector<std::vector<double>> tables[3];
    std::vector<Face> faces;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string keyword;
        words >> keyword;
        if (keyword == "f") {
            Face& face = faces.emplace_back();
            for (int i = 0; i < 3; ++i) {
                std::size_t v = 0, vt = 0, vn = 0;
                char slash = 0;
                words >> v >> slash >> vt >> slash >> vn;
                face.corner[i] = toVector(tables[0].at(v - 1));
                face.u[i] = tables[1].at(vt - 1).at(0);
                face.v[i] = 1 - tables[1].at(vt - 1).at(1);
                face.normal = toVector(tables[2].at(vn - 1));
            }
        } else if (const int table = keyword == "v" ? 0 : keyword == "vt" ? 1 : keyword == "vn" ? 2 : -1; table >= 0) {
            std::vector<double>& row = tables[table].emplace_back();
            for (double number = 0; words >> number;)
                row.push_back(number);
        }
    }
    return faces;
}

/// The way in space along which u (or v) grows by 1.
Vector wayOf(const Face& face, bool alongU) {
    const Vector a = face.corner[1] - face.corner[0], b = face.corner[2] - face.corner[0];
    const double u1 = face.u[1] - face.u[0], u2 = face.u[2] - face.u[0];
    const double v1 = face.v[1] - face.v[0], v2 = face.v[2] - face.v[0];
    const double determinant = u1 * v2 - u2 * v1;
    return alongU ? (a * v2 - b * v1) / determinant : (b * u1 - a * u2) / determinant;
}

/// Expects of the arrow room what a right-handed viewer must see: faces that look inward, pictures that are upright and not
/// mirrored, and the room's own shape mirrored in z.
void expectArrowRoom(const std::vector<Face>& faces) {
    ASSERT_EQ(faces.size(), 12u);
    const Vector middle(4, 2, -3);
    for (const Face& face : faces) {
        for (const Vector& corner : face.corner)
            EXPECT_TRUE((corner.x == 0 || corner.x == 8) && (corner.y == 0 || corner.y == 4) &&
                        (corner.z == 0 || corner.z == -6));
        const Vector front = (face.corner[1] - face.corner[0]).cross(face.corner[2] - face.corner[0]).normalized();
        EXPECT_GT(front.dot(middle - face.corner[0]), 0) << "the loop is wound for who stands inside";
        EXPECT_NEAR(front.dot(face.normal), 1, 1e-6);
        const Vector right = wayOf(face, true), down = wayOf(face, false);
        EXPECT_NEAR(right.cross(down).dot(front), -1, 1e-6) << "right x up looks at the viewer";
        if (std::abs(front.y) < 0.5)
            EXPECT_NEAR(down.y, -1, 1e-6);
        else
            EXPECT_NEAR(down.z, 1, 1e-6) << "floor and ceiling: the top of the picture is ahead";
    }
}

class ExportProgram : public test::ProgramTest {
  protected:
    void save(CN_Document& document, const std::string& name = "a.cairn") const {
        CN_LevelFile::save(document, path(name).string());
    }
    /// Runs an export of a.cairn that must work.
    ProgramRun exportTo(const std::string& output, std::vector<std::string> more = {}) const {
        std::vector<std::string> words{"export", "a.cairn", "-o", output};
        words.insert(words.end(), more.begin(), more.end());
        const ProgramRun done = run(words);
        EXPECT_EQ(done.code, 0) << done.error;
        return done;
    }
    /// The names of the nodes that have a mesh.
    static std::set<std::string> meshesOf(const GltfFile& file) {
        std::set<std::string> names;
        for (const Json& node : file.json()["nodes"])
            if (node.contains("mesh"))
                names.insert(node["name"]);
        return names;
    }
};

TEST_F(ExportProgram, KeepsWindingAndPicturesOfAnAsymmetricRoom) {
    test::ShelfDocument document;
    makeArrowRoom(document);
    save(document);
    exportTo("room.glb");
    const GltfFile binary(read("room.glb"));
    binary.expectSound();
    expectArrowRoom(facesOf(binary, binary.node("Box")));
    exportTo("room.obj");
    expectArrowRoom(facesOfObj(read("room.obj")));

    // A mirror in x, behind which the room lies where it lay: glTF turns loops back where it mirrors, OBJ has it done.
    document.accessLevel()->hasChildNamed("Box")->setRotation(Matrix({-1, 0, 0}, {0, 1, 0}, {0, 0, 1}));
    document.accessLevel()->hasChildNamed("Box")->setPosition({8, 0, 0});
    save(document);
    exportTo("room.obj");
    for (const Face& face : facesOfObj(read("room.obj")))
        EXPECT_GT(face.normal.dot((face.corner[1] - face.corner[0]).cross(face.corner[2] - face.corner[0])), 0);
    exportTo("room.glb");
    EXPECT_EQ(GltfFile(read("room.glb")).node("Box")["scale"], Json({-1, 1, 1}));
}

TEST_F(ExportProgram, WritesSoundGltfOfAWholeLevel) {
    const auto document = test::makeFullLevel();
    for (const char* name : {"Pillar", "First"}) // all of the one, but the floor of the other
        for (CN_Polygon& polygon :
             dynamic_cast<CN_Mesh&>(*document->accessLevel()->hasChildNamed(name)).accessPolygonList())
            if (std::string(name) == "Pillar" || polygon.getNormal().y != 1)
                polygon.accessTriangleList().clear();
    document->accessLevel()->hasChildNamed("Gate")->setVisible(false);
    save(*document);
    const ProgramRun done = exportTo("a.glb");
    EXPECT_THAT(done.error,
                HasSubstr("warning: 14 polygons have no triangles and are left out, the first is ::First#1"));
    const std::string bytes = read("a.glb");
    const GltfFile file(bytes);
    file.expectSound();
    EXPECT_EQ(meshesOf(file), (std::set<std::string>{"First", "Second", "Door", "Gate", "Statue", "Fan"}));
    EXPECT_EQ(facesOf(file, file.node("First")).size(), 2u) << "a fan of four corners";
    EXPECT_EQ(facesOf(file, file.node("Second")).size(), 10u) << "an exit is an opening";
    EXPECT_EQ(
        file.node("Door")["extras"].dump(),
        R"({"flags":["dynamic"],"fsm":true,"keyframes":["Keyframe_0","open"],"kind":"Mesh","qualified":"::Door"})");
    EXPECT_EQ(file.node("Gate")["extras"]["visible"], false);
    EXPECT_EQ(file.node("World_Group")["children"].size(), document->getLevel()->getChildren().size());

    exportTo("b.glb");
    EXPECT_EQ(read("b.glb"), bytes) << "the same level, the same bytes";
    EXPECT_EQ(run({"export", "-", "-o", "-", "--format", "glb"}, read("a.cairn")).output, bytes);
    exportTo("a.gltf");
    const GltfFile text(read("a.gltf"));
    text.expectSound();
    EXPECT_EQ(text.buffer(), file.buffer());
    Json withoutBuffer = text.json(), other = file.json();
    withoutBuffer.erase("buffers");
    other.erase("buffers");
    EXPECT_EQ(withoutBuffer, other);
}

TEST_F(ExportProgram, TellsMaterialsAndImages) {
    test::ShelfDocument document;
    CN_LevelEntityMesh& room = makeArrowRoom(document);
    CN_Material& arrow = *document.accessMaterials().find("Signs", "big arrow");
    arrow.setBlendType(CN_Material::BLEND_ALPHA_TEST);
    arrow.setAlphaTestValue(51);
    CN_MaterialsCategory& more = *document.accessMaterials().addCategory(&document.accessTextures(), "More");
    const struct {
        const char* material;
        const char* texture;
        I_Image::Format format;
        test::Bytes bytes;
    } SURFACES[] = {{"sky", "sky.scx", I_Image::SCX, test::makeScx(4, 4, 1)},
                    {"big_arrow", "other/ARROW.tga", I_Image::TGA, test::makeTga(2, 2, 1, 2, 3)}};
    int face = 0;
    for (const auto& each : SURFACES) {
        addTexture(document, each.texture, each.bytes, each.format);
        CN_Material* const material = more.add(64, each.texture, nullptr);
        material->setName(each.material);
        room.accessPolygonList()[face++].setMaterial(material);
    }
    room.accessPolygonList()[face].setMaterial(nullptr);
    save(document);

    exportTo("room.glb");
    const GltfFile file(read("room.glb"));
    file.expectSound();
    EXPECT_EQ(file.json()["meshes"][0]["primitives"].size(), 4u) << "one a material";
    const Json& materials = file.json()["materials"];
    ASSERT_EQ(materials.size(), 4u);
    EXPECT_EQ(materials[0]["name"], "sky");
    EXPECT_EQ(materials[1]["extras"]["category"], "More");
    EXPECT_EQ(materials[2]["name"], "plain") << "what a load gives a surface without material";
    EXPECT_EQ(materials[3]["alphaMode"], "MASK");
    EXPECT_EQ(materials[3]["alphaCutoff"], 0.2);
    EXPECT_EQ(file.json()["images"].size(), 3u);

    exportTo("my room.obj");
    const std::string tga(reinterpret_cast<const char*>(SURFACES[1].bytes.data()), SURFACES[1].bytes.size());
    EXPECT_EQ(read("ARROW.tga"), tga) << "its own bytes where readers take them";
    EXPECT_EQ(read("sky.png").substr(1, 3), "PNG");
    EXPECT_THAT(read("my room.obj"), testing::StartsWith("mtllib my_room.mtl\no ::Box\n"));
    const std::string mtl = read("my_room.mtl");
    EXPECT_THAT(mtl, HasSubstr("newmtl big_arrow_2\nKd 1 1 1\nillum 1\nmap_Kd arrow_2.tga\nmap_d arrow_2.tga\n"));
    EXPECT_THAT(mtl, HasSubstr("newmtl plain\nKd 0.8 0.8 0.8\n"));
    const std::string obj = read("my room.obj");
    int points = 0;
    for (std::size_t at = 0; (at = obj.find("\nv ", at)) != std::string::npos; ++at)
        ++points;
    EXPECT_EQ(points, 8) << "faces share their points";

    std::filesystem::create_directory(path("taken"));
    std::filesystem::create_symlink(path("victim"), path("taken/sky.png"));
    EXPECT_EQ(run({"export", "a.cairn", "-o", "taken/room.obj"}).error,
              "cairn: taken/sky.png: something other than a plain file stands there\n");
    EXPECT_FALSE(std::filesystem::exists(path("taken/room.obj")));
}

TEST_F(ExportProgram, WritesLightsAndOddNames) {
    test::ShelfDocument document;
    const auto addLight = [&](const char* name, const CN_DynPointlightProperties& properties) {
        auto light = std::make_unique<CN_LevelEntityDynPointlight>();
        light->setDocument(&document);
        light->setName(name, false);
        light->setDynLightProperties(properties);
        CN_LevelEntity& placed = *light;
        document.accessLevel()->addOwned(std::move(light), false);
        placed.setPosition({1, 2, 3});
    };
    CN_DynPointlightProperties bright, dark;
    bright.color = I_FColor(510, 255, -5);
    bright.intensity = 3;
    bright.falloff = 7;
    dark.falloff = -1;
    addLight("L\xFFmp", bright);
    addLight("Dark", dark);
    save(document);
    exportTo("a.gltf");
    const GltfFile file(read("a.gltf"));
    file.expectSound();
    const Json& lights = file.json()["extensions"]["KHR_lights_punctual"]["lights"];
    EXPECT_EQ(
        lights[0].dump(),
        "{\"color\":[1.0,0.5,0.0],\"intensity\":6.0,\"name\":\"L\xEF\xBF\xBDmp\",\"range\":7.0,\"type\":\"point\"}");
    EXPECT_EQ(lights[1]["intensity"], 0);
    EXPECT_EQ(file.node("Dark")["extensions"]["KHR_lights_punctual"]["light"], 1);
    EXPECT_EQ(file.node("Dark")["translation"], Json({1, 2, -3}));
    EXPECT_FALSE(file.json().contains("buffers"));
}

TEST_F(ExportProgram, HoldsWhatIsChosen) {
    test::ShelfDocument document;
    CN_LevelEntityMesh& first = *test::twoRooms(document);
    CN_LevelEntityMesh& crate = *test::unitFloor(document);
    crate.setName("Crate", false);
    first.add(&crate, false);
    document.accessSelection()->add(&crate);
    save(document);
    using Names = std::set<std::string>;
    const struct {
        std::vector<std::string> options;
        Names meshes;
        std::size_t nodes;
    } CASES[] = {
        {{}, {"First", "Crate", "Second"}, 7},
        {{"--filter", "fIRS"}, {"First", "Crate"}, 6},
        {{"--filter", "rat"}, {"Crate"}, 3},
        {{"--select", "::second"}, {"Second"}, 3},
        {{"--select", "@4", "--select", "::Second"}, {"Crate", "Second"}, 5},
        {{"--selection-only"}, {"Crate"}, 3},
        {{"--selection-only", "--select", "::First", "--filter", "Crate"}, {"Crate"}, 3},
        {{"--select", "::"}, {"First", "Crate", "Second"}, 7},
    };
    for (const auto& each : CASES) {
        exportTo("a.glb", each.options);
        const GltfFile file(read("a.glb"));
        file.expectSound();
        EXPECT_EQ(meshesOf(file), each.meshes) << testing::PrintToString(each.options);
        EXPECT_EQ(file.json()["nodes"].size(), each.nodes) << testing::PrintToString(each.options);
    }
}

/// Where the glTF placement takes the point, in glTF's space.
Vector placed(const ExportPlacement& placement, const Vector& p) {
    const Vector scaled(p.x * placement.scale.x, p.y * placement.scale.y, p.z * placement.scale.z);
    return scaled * placement.rotation.toRotation() + placement.translation;
}

TEST(ExportSpace, PlacesAcrossTheBorderWhatItPlacesHere) {
    const Matrix turned = Matrix::rotationX(0.5) * Matrix::rotationY(1.25) * Matrix::rotationZ(2);
    const Matrix scaled(turned.row(0) * 2, turned.row(1) * 0.5, turned.row(2) * 3);
    const Matrix mirrored(turned.row(0), turned.row(1) * -2, turned.row(2));
    const Vector position(10, -2, 3), point(0.5, 2, -7);
    for (const Matrix& rotation : {Matrix(), turned, scaled, mirrored, Matrix::rotationY(3.14159265358979)}) {
        const ExportPlacement placement = placementAcross(rotation, position);
        EXPECT_TRUE(placement.isExact);
        EXPECT_NEAR(placement.rotation.lengthSquared(), 1, 1e-12);
        const Vector here = acrossBorder(point * rotation + position), there = placed(placement, acrossBorder(point));
        EXPECT_NEAR((here - there).length(), 0, 1e-9);
    }
    for (const Matrix& broken : {Matrix({1, 0, 0}, {1, 1, 0}, {0, 0, 1}), Matrix({0, 0, 0}, {0, 1, 0}, {0, 0, 1})}) {
        const ExportPlacement placement = placementAcross(broken, position);
        EXPECT_FALSE(placement.isExact);
        EXPECT_NEAR(placement.rotation.lengthSquared(), 1, 1e-12);
    }
}

TEST(ExportMotion, FollowsTheCurvesBetweenItsKeyframes) {
    const auto document = test::makeFullLevel();
    CN_LevelEntity& door = *document->accessLevel()->hasChildNamed("Door");
    const std::vector<ExportAnimation> made = makeExportAnimations(door);
    ASSERT_EQ(made.size(), 1u);
    EXPECT_EQ(made[0].name, "::Door swing");
    EXPECT_FALSE(made[0].isStepped);
    ASSERT_EQ(made[0].moves.size(), 16u) << "one a sample of the curve";
    EXPECT_EQ(made[0].moves.back().time, 2.5);
    EXPECT_NEAR((made[0].moves.front().translation - Vector()).length(), 0, 1e-6);
    EXPECT_NEAR((made[0].moves.back().translation - Vector(1, 2, -3)).length(), 0, 1e-6);
    const Vector axis(0, 0, 1), end = axis * made[0].turns.back().rotation.toRotation();
    EXPECT_NEAR((end - acrossBorder(acrossBorder(axis) * Matrix::rotationY(0.5))).length(), 0, 1e-6);

    auto& animated = dynamic_cast<CN_AnimationInterface&>(door);
    animated.setAnimations(nullptr);
    const std::vector<ExportAnimation> steps = makeExportAnimations(door);
    ASSERT_EQ(steps.size(), 1u);
    EXPECT_TRUE(steps[0].isStepped);
    EXPECT_EQ(steps[0].moves.size(), 2u);
    EXPECT_TRUE(steps[0].isExact);
    animated.accessKeyframes()->getFirst()->setMatrix({Matrix({2, 0, 0}, {0, 2, 0}, {0, 0, 2}), Vector()});
    EXPECT_FALSE(makeExportAnimations(door)[0].isExact);
    EXPECT_TRUE(makeExportAnimations(*document->accessLevel()->hasChildNamed("Pillar")).empty());
}

} // namespace
} // namespace cairn::host
