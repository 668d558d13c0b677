#pragma once

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <map>
#include <string>
#include <vector>

namespace cairn::test {

/// A glTF file as a reader sees it, text or binary, with one buffer inside.
class GltfFile {
  public:
    using Json = nlohmann::json;
    using Row = std::vector<double>;

    explicit GltfFile(const std::string& bytes) {
        if (bytes.compare(0, 4, "glTF") == 0)
            readBinary(bytes);
        else
            readText(bytes);
    }

    const Json& json() const { return m_json; }
    const std::string& buffer() const { return m_buffer; }
    const Json& node(const std::string& name) const {
        for (const Json& node : m_json["nodes"])
            if (node["name"] == name)
                return node;
        ADD_FAILURE() << "no node " << name;
        return m_none;
    }
    /// The numbers of an accessor, a row an element.
    std::vector<Row> rows(const Json& index) const {
        const Json& accessor = m_json["accessors"].at(index.get<std::size_t>());
        const Json& view = m_json["bufferViews"].at(accessor["bufferView"].get<std::size_t>());
        const std::size_t size = sizeOf(accessor["componentType"]), components = countOf(accessor["type"]);
        const std::size_t stride = view.value("byteStride", size * components);
        std::size_t at = accessor.value("byteOffset", std::size_t{0});
        EXPECT_EQ(at % size, 0u);
        EXPECT_EQ(view.value("byteOffset", std::size_t{0}) % 4, 0u);
        std::vector<Row> rows;
        for (std::size_t i = 0; i < accessor["count"]; ++i, at += stride) {
            if (at + size * components > view["byteLength"]) {
                ADD_FAILURE() << "accessor " << index << " leaves its view";
                return rows;
            }
            Row& row = rows.emplace_back();
            for (std::size_t c = 0; c < components; ++c)
                row.push_back(
                    number(view.value("byteOffset", std::size_t{0}) + at + c * size, accessor["componentType"]));
        }
        return rows;
    }

    /// Expects what the format demands of the parts that an export has.
    void expectSound() const {
        EXPECT_EQ(m_json["asset"]["version"], "2.0");
        for (const Json& view : list("bufferViews"))
            EXPECT_LE(view.value("byteOffset", std::size_t{0}) + view["byteLength"].get<std::size_t>(),
                      m_buffer.size());
        for (const Json& mesh : list("meshes"))
            for (const Json& primitive : mesh["primitives"])
                expectSoundPrimitive(primitive);
        expectSoundNodes();
        for (const Json& animation : list("animations"))
            expectSoundAnimation(animation);
        for (const Json& texture : list("textures")) {
            EXPECT_LT(texture["source"], list("images").size());
            EXPECT_LT(texture["sampler"], list("samplers").size());
        }
        for (const Json& image : list("images")) {
            const Json& view = m_json["bufferViews"].at(image["bufferView"].get<std::size_t>());
            const std::string signature = image["mimeType"] == "image/png" ? "\x89PNG" : "\xFF\xD8\xFF";
            EXPECT_EQ(m_buffer.compare(view.value("byteOffset", std::size_t{0}), signature.size(), signature), 0);
        }
    }

  private:
    const Json& list(const char* key) const { return m_json.contains(key) ? m_json[key] : m_none; }

    static std::size_t sizeOf(int componentType) {
        const std::map<int, std::size_t> sizes{{5123, 2}, {5125, 4}, {5126, 4}};
        return sizes.at(componentType);
    }
    static std::size_t countOf(const std::string& type) {
        const std::map<std::string, std::size_t> counts{{"SCALAR", 1}, {"VEC2", 2}, {"VEC3", 3}, {"VEC4", 4}};
        return counts.at(type);
    }
    static double lengthOf(const Row& row) {
        double square = 0;
        for (const double each : row)
            square += each * each;
        return std::sqrt(square);
    }
    double number(std::size_t at, int componentType) const {
        switch (componentType) {
        case 5123:
            return read<std::uint16_t>(at);
        case 5125:
            return read<std::uint32_t>(at);
        default:
            return static_cast<double>(read<float>(at));
        }
    }
    template <class Number> Number read(std::size_t at) const {
        Number value{};
        std::memcpy(&value, m_buffer.data() + at, sizeof value);
        return value;
    }

    void expectSoundPrimitive(const Json& primitive) const {
        const auto positions = rows(primitive["attributes"]["POSITION"]);
        const auto normals = rows(primitive["attributes"]["NORMAL"]);
        ASSERT_FALSE(positions.empty());
        EXPECT_EQ(normals.size(), positions.size());
        EXPECT_EQ(rows(primitive["attributes"]["TEXCOORD_0"]).size(), positions.size());
        for (const Row& normal : normals)
            EXPECT_NEAR(lengthOf(normal), 1, 1e-6);
        const Json& accessor = m_json["accessors"].at(primitive["attributes"]["POSITION"].get<std::size_t>());
        EXPECT_EQ(accessor["min"].get<Row>(), extreme(positions, false));
        EXPECT_EQ(accessor["max"].get<Row>(), extreme(positions, true));
        const auto indices = rows(primitive["indices"]);
        EXPECT_EQ(indices.size() % 3, 0u);
        for (const Row& index : indices)
            EXPECT_LT(index[0], static_cast<double>(positions.size()));
        EXPECT_LT(primitive["material"], list("materials").size());
    }

    static Row extreme(const std::vector<Row>& rows, bool greatest) {
        Row extreme = rows.at(0);
        for (const Row& row : rows)
            for (std::size_t i = 0; i < row.size(); ++i)
                extreme[i] = greatest ? std::max(extreme[i], row[i]) : std::min(extreme[i], row[i]);
        return extreme;
    }

    void expectSoundNodes() const {
        const Json& nodes = m_json["nodes"];
        std::vector<int> parents(nodes.size());
        for (const Json& node : nodes) {
            for (const Json& child : node.value("children", Json::array()))
                ++parents.at(child.get<std::size_t>());
            EXPECT_TRUE(!node.contains("mesh") || node["mesh"] < list("meshes").size());
            EXPECT_NEAR(lengthOf(node.value("rotation", Row{0, 0, 0, 1})), 1, 1e-9);
        }
        EXPECT_EQ(m_json["scenes"][0]["nodes"], Json::array({0}));
        for (std::size_t i = 0; i < parents.size(); ++i)
            EXPECT_EQ(parents[i], i == 0 ? 0 : 1) << i;
    }

    void expectSoundAnimation(const Json& animation) const {
        for (const Json& channel : animation["channels"]) {
            EXPECT_LT(channel["target"]["node"], m_json["nodes"].size());
            const Json& sampler = animation["samplers"].at(channel["sampler"].get<std::size_t>());
            const auto times = rows(sampler["input"]), values = rows(sampler["output"]);
            ASSERT_EQ(times.size(), values.size());
            const Json& input = m_json["accessors"].at(sampler["input"].get<std::size_t>());
            EXPECT_EQ(input["min"].get<Row>(), times.front());
            EXPECT_EQ(input["max"].get<Row>(), times.back());
            for (std::size_t i = 0; i < times.size(); ++i) {
                EXPECT_TRUE(i == 0 || times[i][0] > times[i - 1][0]);
                EXPECT_NEAR(channel["target"]["path"] == "rotation" ? lengthOf(values[i]) : 1, 1, 1e-6);
            }
        }
    }

    void readBinary(const std::string& bytes) {
        std::uint32_t words[5];
        std::memcpy(words, bytes.data(), sizeof words);
        EXPECT_EQ(words[1], 2u);
        EXPECT_EQ(words[2], bytes.size());
        m_json = Json::parse(bytes.substr(20, words[3]));
        if (20 + words[3] < bytes.size())
            m_buffer = bytes.substr(28 + words[3]);
        if (m_json.contains("buffers")) {
            EXPECT_LE(m_json["buffers"][0]["byteLength"], m_buffer.size());
            m_buffer.resize(m_json["buffers"][0]["byteLength"]);
        }
    }

    void readText(const std::string& bytes) {
        m_json = Json::parse(bytes);
        if (!m_json.contains("buffers"))
            return;
        const std::string uri = m_json["buffers"][0]["uri"], head = "data:application/octet-stream;base64,";
        EXPECT_EQ(uri.compare(0, head.size(), head), 0);
        std::uint32_t bits = 0;
        int count = 0;
        for (std::size_t at = head.size(); at < uri.size() && uri[at] != '='; ++at) {
            const std::string digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
            bits = bits << 6 | static_cast<std::uint32_t>(digits.find(uri[at]));
            count += 6;
            if (count >= 8) {
                count -= 8;
                m_buffer += static_cast<char>(bits >> count);
            }
        }
        EXPECT_EQ(m_json["buffers"][0]["byteLength"], m_buffer.size());
    }

    Json m_json;
    std::string m_buffer;
    const Json m_none = Json::array();
};

} // namespace cairn::test
