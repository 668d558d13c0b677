#include "host/entity_properties.h"

#include "host/edit_language.h"
#include "host/editor.h"
#include "host/entity_text.h"
#include "host/property_rows.h"
#include "host/text.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <optional>

namespace cairn::host {

namespace {

using Properties = CN_GeneralEntityProperties;

/// A row of a pair of operations of the general settings.
template <auto Get, auto Set> constexpr EntityProperty general(std::string_view name, std::string_view help) {
    return row<bool>(
        {name, ALL_KINDS, help},
        [](const CN_LevelEntity& entity) { return toValue((entity.getGeneralProperties().*Get)()); },
        [](CN_LevelEntity& entity, const PropertyValue& value) {
            (entity.accessGeneralProperties().*Set)(std::get<bool>(value));
        });
}

constexpr EntityProperty GENERAL[] = {
    accessed<CN_LevelEntity, &CN_LevelEntity::isVisible, &CN_LevelEntity::setVisible>(
        {"visible", ALL_KINDS & ~kindSet({CN_KIND_PLAYER}), "shown by an editor; the player always is"}),
    general<&Properties::isExcludedFromGame, &Properties::setExcludedFromGame>(
        "excluded", "left out of the game with all below it"),
    general<&Properties::isExportRegroupingEnabled, &Properties::setExportRegroupingEnabled>(
        "export-regrouping", "may be regrouped at export"),
    general<&Properties::isGameplayCritical, &Properties::setGameplayCritical>("gameplay-critical",
                                                                               "the game cannot do without it"),
    general<&Properties::isReserved, &Properties::setReserved>("reserved", "kept for the game"),
};

/// The numbers between commas; none where one is no finite number or there are not just three.
std::optional<std::array<double, 3>> readTriple(const std::string& word) {
    std::array<double, 3> triple{};
    const char *at = word.data(), *const end = at + word.size();
    for (std::size_t i = 0; i < triple.size(); ++i) {
        if (i > 0 && (at == end || *at++ != ','))
            return {};
        const auto [stop, error] = std::from_chars(at, end, triple[i]);
        if (error != std::errc() || !std::isfinite(triple[i]))
            return {};
        at = stop;
    }
    if (at != end)
        return {};
    return triple;
}

/// A colour that a word names.
std::optional<std::array<double, 3>> namedColor(const std::string& word) {
    static constexpr struct {
        std::string_view name;
        std::array<double, 3> color;
    } COLORS[] = {
        {"black", {0, 0, 0}},      {"white", {255, 255, 255}}, {"grey", {128, 128, 128}},
        {"red", {255, 0, 0}},      {"green", {0, 255, 0}},     {"blue", {0, 0, 255}},
        {"yellow", {255, 255, 0}}, {"cyan", {0, 255, 255}},    {"magenta", {255, 0, 255}},
    };
    for (const auto& named : COLORS)
        if (asciiEqualNoCase(named.name, word))
            return named.color;
    return {};
}

bool isIn(const ValueRange& range, double number) { return number >= range.least && number <= range.most; }

std::optional<std::array<double, 3>> readTriple(const EntityProperty& property, const std::string& word) {
    std::optional<std::array<double, 3>> triple =
        property.type == PropertyType::VECTOR ? std::nullopt : namedColor(word);
    if (!triple)
        triple = readTriple(word);
    if (!triple)
        return {};
    for (const double number : *triple)
        if (!isIn(property.range, number) ||
            (property.type == PropertyType::BYTE_COLOR && number != std::trunc(number)))
            return {};
    return triple;
}

/// The value, none where the word is none of that type or it lies beyond the range.
std::optional<PropertyValue> findValue(const EntityProperty& property, const std::string& word) {
    switch (property.type) {
    case PropertyType::SWITCH:
        if (asciiEqualNoCase(word, "on") || asciiEqualNoCase(word, "off"))
            return word.size() == 2;
        return {};
    case PropertyType::WHOLE: {
        int number = 0;
        const auto [stop, error] = std::from_chars(word.data(), word.data() + word.size(), number);
        if (stop != word.data() + word.size() || error != std::errc() || !isIn(property.range, number))
            return {};
        return number;
    }
    case PropertyType::NUMBER: {
        const double number = Editor::number(word);
        if (!isIn(property.range, number))
            return {};
        return number;
    }
    case PropertyType::TEXT:
        if (word.find('\0') != std::string::npos)
            return {};
        return word;
    case PropertyType::BYTE_COLOR:
    case PropertyType::COLOR:
        if (const auto c = readTriple(property, word))
            return I_FColor(static_cast<float>((*c)[0]), static_cast<float>((*c)[1]), static_cast<float>((*c)[2]));
        return {};
    case PropertyType::VECTOR:
        if (const auto v = readTriple(property, word))
            return CN_LevelEntity::Vector((*v)[0], (*v)[1], (*v)[2]);
        return {};
    }
    return {};
}

/// The range as the end of a sentence; bounds as far out as numbers go are not worth a word.
std::string describeRange(const ValueRange& range) {
    constexpr double FAR = std::numeric_limits<int>::max();
    std::string text;
    if (range.least > -FAR)
        text += fmt::format(" from {:g}", range.least);
    if (range.most < FAR)
        text += fmt::format(" to {:g}", range.most);
    return text;
}

} // namespace

std::span<const EntityProperty> generalProperties() { return GENERAL; }

const std::vector<EntityProperty>& entityProperties() {
    static const std::vector<EntityProperty> all = [] {
        std::vector<EntityProperty> joined;
        for (const auto& part : {generalProperties(), meshProperties(), sphereProperties(), regionProperties()})
            joined.insert(joined.end(), part.begin(), part.end());
        return joined;
    }();
    return all;
}

const EntityProperty& requireProperty(const CN_LevelEntity& entity, const std::string& name) {
    std::vector<std::string_view> names;
    for (const EntityProperty& property : entityProperties()) {
        if (!property.isOf(entity.getEntityId()))
            continue;
        if (asciiEqualNoCase(property.name, name))
            return property;
        names.push_back(property.name);
    }
    throw EditRefusal(fmt::format("\"{}\" is no property of \"{}\" ({}), which has {}", toShownText(name),
                                  toShownText(qualifiedName(entity)), kindName(entity.getEntityId()),
                                  fmt::join(names, ", ")));
}

std::string describeValue(const EntityProperty& property) {
    switch (property.type) {
    case PropertyType::SWITCH:
        return "on|off";
    case PropertyType::WHOLE:
        return "a whole number" + describeRange(property.range);
    case PropertyType::NUMBER:
        return "a number" + describeRange(property.range);
    case PropertyType::TEXT:
        return "text";
    case PropertyType::BYTE_COLOR:
        return "R,G,B" + describeRange(property.range) + " or a colour's name";
    case PropertyType::COLOR:
        return "R,G,B" + describeRange(property.range) + " (255 is full) or a colour's name";
    case PropertyType::VECTOR:
        return "X,Y,Z" + describeRange(property.range);
    }
    return {};
}

PropertyValue readValue(const EntityProperty& property, const std::string& word) {
    if (const std::optional<PropertyValue> value = findValue(property, word))
        return *value;
    throw EditRefusal(
        fmt::format("\"{}\" takes {}, not \"{}\"", property.name, describeValue(property), toShownText(word)));
}

void setProperty(CN_LevelEntity& entity, const EntityProperty& property, const PropertyValue& value) {
    if (const std::string why = property.refuse ? property.refuse(entity, value) : std::string(); !why.empty())
        throw EditRefusal(why);
    property.set(entity, value);
    entity.setObjectDirty(true);
    if (property.follow)
        property.follow(entity);
}

} // namespace cairn::host
