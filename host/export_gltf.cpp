#include "host/export_gltf.h"

#include "cairn/animation/animation_interface.h"
#include "cairn/animation/keyframes.h"
#include "cairn/entities/dyn_pointlight.h"
#include "cairn/materials/material.h"
#include "cairn/materials/materials_category.h"
#include "cairn/version.h"
#include "host/console.h"
#include "host/entity_text.h"
#include "host/export_images.h"
#include "host/failure.h"
#include "host/text.h"

#include <fmt/format.h>
#include <tiny_gltf.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cfloat>
#include <cmath>
#include <cstring>
#include <limits>
#include <ostream>
#include <streambuf>
#include <string_view>
#include <unordered_map>

namespace cairn::host {

namespace {

using Vector = M_Vector3Template<double>;
using Quaternion = M_QuaternionTemplate<double>;
using Value = tinygltf::Value;

constexpr const char* LIGHTS = "KHR_lights_punctual";
static_assert(std::endian::native == std::endian::little, "a buffer's numbers are little-endian");

/// A text for a name: what follows a NUL would be cut off there.
std::string nameText(std::string_view text) {
    std::string name = toUtf8(text);
    for (std::size_t at = 0; (at = name.find('\0', at)) != std::string::npos;)
        name.replace(at, 1, "\xEF\xBF\xBD");
    return name;
}

/// Numbers of one kind, side by side in the buffer: what accessors stand in.
struct Column {
    int target = 0;         ///< what a device uses it for; 0 for nothing
    std::size_t stride = 0; ///< bytes from one vertex to the next; 0 for what is no vertices
    std::vector<unsigned char> bytes{};
    std::vector<std::size_t> accessors{};
};

template <class Number> void append(Column& column, Number number) {
    unsigned char bytes[sizeof number];
    std::memcpy(bytes, &number, sizeof number);
    column.bytes.insert(column.bytes.end(), bytes, bytes + sizeof number);
}

/// A number that the format has no room for.
struct BeyondReach {
    double number;
};

/// The number in the width that the format has. Throws a `BeyondReach`.
float narrow(double number) {
    if (!(std::abs(number) <= FLT_MAX))
        throw BeyondReach{number};
    return static_cast<float>(number);
}

/// The least and the greatest of each component, as the numbers that are stored.
class Extent {
  public:
    explicit Extent(std::size_t components) : m_least(components, DBL_MAX), m_greatest(components, -DBL_MAX) {}

    void widen(std::size_t component, float number) {
        m_least[component] = std::min<double>(m_least[component], number);
        m_greatest[component] = std::max<double>(m_greatest[component], number);
    }
    void give(tinygltf::Accessor& accessor) const {
        accessor.minValues = m_least;
        accessor.maxValues = m_greatest;
    }

  private:
    std::vector<double> m_least, m_greatest;
};

/// Keeps what is written to it, with room for no more than that and a line's end: a string stream doubles its room.
class TextBuffer : public std::streambuf {
  public:
    std::string take() { return std::move(m_text); }

  private:
    std::streamsize xsputn(const char* text, std::streamsize size) override {
        m_text.reserve(m_text.size() + static_cast<std::size_t>(size) + 1);
        m_text.append(text, static_cast<std::size_t>(size));
        return size;
    }
    int_type overflow(int_type c) override {
        if (!traits_type::eq_int_type(c, traits_type::eof()))
            m_text += traits_type::to_char_type(c);
        return traits_type::not_eof(c);
    }

    std::string m_text;
};

/// Turns a scene into tinygltf's model, and that into text.
class GltfWriter {
  public:
    GltfWriter(ExportScene& scene, const std::string& output) : m_scene(scene), m_output(output) {}

    std::string write(bool binary) {
        m_model.asset.generator = std::string("cairn ") + version();
        for (ExportNode& node : m_scene.nodes) {
            addNode(node);
            node.surfaces = {}; // the model has them, and what is made of that takes as much again
            Progress::count();
        }
        for (std::size_t i = 0; i < m_scene.nodes.size(); ++i)
            for (const ExportAnimation& animation : m_scene.nodes[i].animations) {
                if (!animation.isExact)
                    m_scene.lose("animations have keyframes that scale or shear, and turn and move only",
                                 qualifiedName(*m_scene.nodes[i].entity));
                addAnimation(animation, static_cast<int>(i));
            }
        tinygltf::Scene scene;
        scene.nodes = {0};
        m_model.scenes.push_back(scene);
        m_model.defaultScene = 0;
        layBuffer();
        TextBuffer text;
        std::ostream stream(&text);
        stream.exceptions(std::ios::badbit); // it would go on without its text where memory lacks
        if (!tinygltf::TinyGLTF().WriteGltfSceneToStream(&m_model, stream, !binary, binary))
            throw new F_Exception("The glTF cannot be written");
        return text.take();
    }

  private:
    /// @name Nodes
    /// @{
    void addNode(const ExportNode& from) {
        const auto place = static_cast<int>(m_model.nodes.size());
        m_model.nodes.emplace_back();
        if (from.parent >= 0)
            m_model.nodes[static_cast<std::size_t>(from.parent)].children.push_back(place);
        tinygltf::Node& node = m_model.nodes.back();
        node.name = nameText(plainName(*from.entity));
        setPlacement(node, from.placement);
        if (!from.placement.isExact)
            m_scene.lose("placements are sheared or flat and come out straight", qualifiedName(*from.entity));
        node.extras = describe(*from.entity);
        if (!from.isChosen)
            return;
        if (!from.surfaces.empty())
            node.mesh = addMesh(from, node.name);
        if (const auto* light = dynamic_cast<const CN_LevelEntityDynPointlight*>(from.entity))
            node.extensions[LIGHTS] = Value(Value::Object{{"light", Value(addLight(*light, node.name))}});
    }

    static void setPlacement(tinygltf::Node& node, const ExportPlacement& placement) {
        const auto& [translation, rotation, scale, isExact] = placement;
        if (translation != Vector())
            for (const double place : node.translation = {translation.x, translation.y, translation.z})
                narrow(place);
        if (rotation != Quaternion{1, 0, 0, 0})
            node.rotation = {rotation.x, rotation.y, rotation.z, rotation.w};
        if (scale != Vector(1, 1, 1))
            node.scale = {scale.x, scale.y, scale.z};
    }

    /// What a level knows of an entity and glTF has no word for.
    static Value describe(const CN_LevelEntity& entity) {
        Value::Object extras{{"kind", Value(toUtf8(kindName(entity.getEntityId())))},
                             {"qualified", Value(toUtf8(qualifiedName(entity)))},
                             {"fsm", Value(entity.hasFSM())}};
        if (!entity.isVisible())
            extras["visible"] = Value(false);
        if (entity.isExcludedFromGame())
            extras["excluded"] = Value(true);
        if (const std::vector<std::string> flags = flagsOf(entity); !flags.empty()) {
            Value::Array words;
            for (const std::string& flag : flags)
                words.emplace_back(flag);
            extras["flags"] = Value(std::move(words));
        }
        const auto* animated = dynamic_cast<const CN_AnimationInterface*>(&entity);
        if (animated && animated->getKeyframes())
            extras["keyframes"] = describeKeyframes(*animated->getKeyframes());
        return Value(std::move(extras));
    }

    static Value describeKeyframes(const CN_Keyframes& keyframes) {
        std::vector<string> names;
        keyframes.getNames(names);
        Value::Array words;
        for (const string& name : names)
            words.emplace_back(toUtf8(view(name)));
        return Value(std::move(words));
    }

    /// The colour on a scale of 0 to 1: what goes beyond it is in the intensity.
    int addLight(const CN_LevelEntityDynPointlight& from, const std::string& name) {
        const CN_DynPointlightProperties& properties = from.getDynLightProperties();
        std::array<double, 3> channels{properties.color.red, properties.color.green, properties.color.blue};
        for (double& channel : channels)
            channel = channel > 0 && std::isfinite(channel) ? channel / 255
                                                            : 0; // a channel that takes light has no word here
        const double brightest = std::max(1.0, *std::max_element(channels.begin(), channels.end()));
        tinygltf::Light light;
        light.name = name;
        light.type = "point";
        for (const double channel : channels)
            light.color.push_back(channel / brightest);
        const double intensity = properties.intensity * brightest;
        light.intensity = intensity > 0 && std::isfinite(intensity) && properties.falloff > 0 ? intensity : 0;
        if (properties.falloff > 0 && std::isfinite(properties.falloff))
            light.range = properties.falloff;
        m_model.lights.push_back(std::move(light));
        return static_cast<int>(m_model.lights.size()) - 1;
    }
    /// @}

    /// @name Geometry
    /// @{
    int addMesh(const ExportNode& from, const std::string& name) {
        tinygltf::Mesh& mesh = m_model.meshes.emplace_back();
        mesh.name = name;
        for (const ExportSurface& surface : from.surfaces) {
            tinygltf::Primitive primitive;
            primitive.mode = TINYGLTF_MODE_TRIANGLES;
            primitive.attributes["POSITION"] = addVectors(m_positions, surface.positions, true);
            primitive.attributes["NORMAL"] = addVectors(m_normals, surface.normals, false);
            primitive.attributes["TEXCOORD_0"] = addUVs(surface.uvs);
            primitive.indices = addIndices(surface);
            primitive.material = materialOf(surface.material);
            mesh.primitives.push_back(std::move(primitive));
        }
        return static_cast<int>(m_model.meshes.size()) - 1;
    }

    int addAccessor(Column& column, std::size_t offset, int componentType, int type, std::size_t count) {
        tinygltf::Accessor accessor;
        accessor.byteOffset = offset;
        accessor.componentType = componentType;
        accessor.type = type;
        accessor.count = count;
        column.accessors.push_back(m_model.accessors.size());
        m_model.accessors.push_back(std::move(accessor));
        return static_cast<int>(m_model.accessors.size()) - 1;
    }

    int addVectors(Column& column, const std::vector<Vector>& vectors, bool withExtent) {
        const std::size_t offset = column.bytes.size();
        Extent extent(3);
        for (const Vector& v : vectors)
            for (int i = 0; i < 3; ++i) {
                const float number = narrow(v[i]);
                append(column, number);
                extent.widen(static_cast<std::size_t>(i), number);
            }
        const int accessor =
            addAccessor(column, offset, TINYGLTF_COMPONENT_TYPE_FLOAT, TINYGLTF_TYPE_VEC3, vectors.size());
        if (withExtent)
            extent.give(m_model.accessors.back());
        return accessor;
    }

    int addUVs(const std::vector<M_Vector2Template<double>>& uvs) {
        const std::size_t offset = m_uvs.bytes.size();
        for (const M_Vector2Template<double>& uv : uvs) {
            append(m_uvs, narrow(uv.x));
            append(m_uvs, narrow(uv.y));
        }
        return addAccessor(m_uvs, offset, TINYGLTF_COMPONENT_TYPE_FLOAT, TINYGLTF_TYPE_VEC2, uvs.size());
    }

    /// In two bytes each where that is enough; the greatest number of a width means something else.
    int addIndices(const ExportSurface& surface) {
        const bool isShort = surface.positions.size() <= std::numeric_limits<std::uint16_t>::max();
        Column& column = isShort ? m_shortIndices : m_indices;
        const std::size_t offset = column.bytes.size();
        for (const unsigned index : surface.indices)
            if (isShort)
                append(column, static_cast<std::uint16_t>(index));
            else
                append(column, std::uint32_t{index});
        return addAccessor(column, offset,
                           isShort ? TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT : TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT,
                           TINYGLTF_TYPE_SCALAR, surface.indices.size());
    }
    /// @}

    /// @name Materials
    /// @{
    int materialOf(const CN_Material* from) {
        const auto [it, isNew] = m_materials.try_emplace(from, static_cast<int>(m_model.materials.size()));
        if (isNew)
            m_model.materials.push_back(from ? makeMaterial(*from) : makePlainMaterial());
        return it->second;
    }

    /// A surface that is no metal and has no shine, in a light grey where nothing else is told.
    static tinygltf::Material makePlainMaterial() {
        constexpr double GREY = 0.8;
        tinygltf::Material material;
        material.pbrMetallicRoughness.metallicFactor = 0;
        material.pbrMetallicRoughness.baseColorFactor = {GREY, GREY, GREY, 1};
        return material;
    }

    tinygltf::Material makeMaterial(const CN_Material& from) {
        tinygltf::Material material = makePlainMaterial();
        material.name = nameText(from.name().view());
        material.doubleSided = from.isDoubleSided();
        if (from.doesAlphaTest()) {
            material.alphaMode = "MASK";
            material.alphaCutoff = from.getAlphaTestValue() / 255.0;
        } else if (from.isAlpha())
            material.alphaMode = "BLEND";
        if (const int texture = from.getTexture() ? textureOf(*from.getTexture()) : -1; texture >= 0) {
            material.pbrMetallicRoughness.baseColorTexture.index = texture;
            material.pbrMetallicRoughness.baseColorFactor = {1, 1, 1, 1};
        }
        if (from.getParent())
            material.extras = Value(Value::Object{{"category", Value(toUtf8(from.getParent()->name().view()))}});
        return material;
    }

    /// -1 for a texture that does not decode.
    int textureOf(const CN_Texture& from) {
        const auto [it, isNew] = m_textures.try_emplace(&from, -1);
        if (!isNew)
            return it->second;
        if (from.getWidth() == 0) {
            m_scene.lose("textures do not decode and are left out", std::string(from.name().view()));
            return -1;
        }
        const ExportImage source(from, false);
        tinygltf::Image image;
        image.name = nameText(from.name().view());
        image.mimeType = source.mediaType();
        image.bufferView = addView(source.bytes(), 0, 0);
        m_model.images.push_back(std::move(image));
        if (m_model.samplers.empty()) {
            tinygltf::Sampler sampler; // repeats both ways
            sampler.magFilter = TINYGLTF_TEXTURE_FILTER_LINEAR;
            sampler.minFilter = TINYGLTF_TEXTURE_FILTER_LINEAR_MIPMAP_LINEAR;
            m_model.samplers.push_back(sampler);
        }
        tinygltf::Texture texture;
        texture.sampler = 0;
        texture.source = static_cast<int>(m_model.images.size()) - 1;
        m_model.textures.push_back(std::move(texture));
        return it->second = static_cast<int>(m_model.textures.size()) - 1;
    }
    /// @}

    /// @name Motion
    /// @{
    void addAnimation(const ExportAnimation& from, int node) {
        tinygltf::Animation animation;
        animation.name = nameText(from.name);
        const char* const interpolation = from.isStepped ? "STEP" : "LINEAR";
        const auto addChannel = [&](const char* path, int times, int values) {
            tinygltf::AnimationSampler sampler;
            sampler.input = times;
            sampler.output = values;
            sampler.interpolation = interpolation;
            animation.samplers.push_back(std::move(sampler));
            tinygltf::AnimationChannel channel;
            channel.sampler = static_cast<int>(animation.samplers.size()) - 1;
            channel.target_node = node;
            channel.target_path = path;
            animation.channels.push_back(std::move(channel));
        };
        std::vector<Vector> places;
        for (const ExportKey& key : from.moves)
            places.push_back(key.translation);
        const int moveTimes = addTimes(from.moves); // ahead of the values, whatever the compiler
        addChannel("translation", moveTimes, addVectors(m_motion, places, false));
        const int turnTimes = addTimes(from.turns);
        addChannel("rotation", turnTimes, addRotations(from.turns));
        m_model.animations.push_back(std::move(animation));
    }

    int addTimes(const std::vector<ExportKey>& keys) {
        const std::size_t offset = m_motion.bytes.size();
        Extent extent(1);
        for (const ExportKey& key : keys) {
            append(m_motion, static_cast<float>(key.time));
            extent.widen(0, static_cast<float>(key.time));
        }
        const int accessor =
            addAccessor(m_motion, offset, TINYGLTF_COMPONENT_TYPE_FLOAT, TINYGLTF_TYPE_SCALAR, keys.size());
        extent.give(m_model.accessors.back());
        return accessor;
    }

    int addRotations(const std::vector<ExportKey>& keys) {
        const std::size_t offset = m_motion.bytes.size();
        for (const ExportKey& key : keys)
            for (const double number : {key.rotation.x, key.rotation.y, key.rotation.z, key.rotation.w})
                append(m_motion, static_cast<float>(number));
        return addAccessor(m_motion, offset, TINYGLTF_COMPONENT_TYPE_FLOAT, TINYGLTF_TYPE_VEC4, keys.size());
    }
    /// @}

    /// @name Buffer
    /// @{
    /// Appends the bytes to the buffer as a view of their own.
    int addView(std::span<const unsigned char> bytes, int target, std::size_t stride) {
        constexpr std::size_t ALIGNMENT = 4; // of the widest number
        constexpr std::size_t MOST_BYTES = std::numeric_limits<int>::max() / 2;
        if (bytes.size() > MOST_BYTES || m_buffer.size() > MOST_BYTES - bytes.size())
            throw Failure(ExitCode::OUTPUT, m_output,
                          "a file with more than 1 GiB of geometry and images is not written");
        m_buffer.resize((m_buffer.size() + ALIGNMENT - 1) / ALIGNMENT * ALIGNMENT);
        tinygltf::BufferView view;
        view.buffer = 0;
        view.byteOffset = m_buffer.size();
        view.byteLength = bytes.size();
        view.byteStride = stride;
        view.target = target;
        m_buffer.insert(m_buffer.end(), bytes.begin(), bytes.end());
        m_model.bufferViews.push_back(std::move(view));
        return static_cast<int>(m_model.bufferViews.size()) - 1;
    }

    void layBuffer() {
        for (Column* column : {&m_positions, &m_normals, &m_uvs, &m_shortIndices, &m_indices, &m_motion}) {
            if (column->bytes.empty())
                continue;
            const int view = addView(column->bytes, column->target, column->stride);
            for (const std::size_t accessor : column->accessors)
                m_model.accessors[accessor].bufferView = view;
            column->bytes = {};
        }
        if (m_buffer.empty())
            return;
        tinygltf::Buffer& buffer = m_model.buffers.emplace_back();
        buffer.data = std::move(m_buffer);
    }
    /// @}

    ExportScene& m_scene;
    const std::string& m_output; ///< for a failure
    tinygltf::Model m_model;
    std::vector<unsigned char> m_buffer;
    Column m_positions{TINYGLTF_TARGET_ARRAY_BUFFER, 12};
    Column m_normals{TINYGLTF_TARGET_ARRAY_BUFFER, 12};
    Column m_uvs{TINYGLTF_TARGET_ARRAY_BUFFER, 8};
    Column m_shortIndices{TINYGLTF_TARGET_ELEMENT_ARRAY_BUFFER};
    Column m_indices{TINYGLTF_TARGET_ELEMENT_ARRAY_BUFFER};
    Column m_motion;
    std::unordered_map<const CN_Material*, int> m_materials; ///< places in the model; never walked
    std::unordered_map<const CN_Texture*, int> m_textures;   ///< places in the model; never walked
};

} // namespace

std::string writeGltf(ExportScene& scene, bool binary, const std::string& output) {
    try {
        return GltfWriter(scene, output).write(binary);
    } catch (const BeyondReach& beyond) {
        throw Failure(ExitCode::OUTPUT, output,
                      fmt::format("the level has the number {:g}, which is beyond what glTF can hold", beyond.number));
    }
}

} // namespace cairn::host
