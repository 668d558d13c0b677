#pragma once

#include "cairn/foundation/strings.h"
#include "host/entity_properties.h"

#include <algorithm>
#include <type_traits>

/// Makes rows of the table of properties from what the library has for them: a pair of operations, or a record and a field
/// of it.
namespace cairn::host {

/// The entity as the class that its kind has.
template <class Entity> const Entity& as(const CN_LevelEntity& entity) { return dynamic_cast<const Entity&>(entity); }
template <class Entity> Entity& as(CN_LevelEntity& entity) { return dynamic_cast<Entity&>(entity); }

template <class T>
inline constexpr bool IS_TEXT =
    std::is_same_v<T, std::string> || std::is_same_v<T, string> || std::is_same_v<T, istring>;

template <class T> constexpr PropertyType typeOf() {
    if constexpr (std::is_same_v<T, bool>)
        return PropertyType::SWITCH;
    else if constexpr (std::is_same_v<T, int>)
        return PropertyType::WHOLE;
    else if constexpr (std::is_floating_point_v<T>)
        return PropertyType::NUMBER;
    else if constexpr (std::is_same_v<T, I_Color>)
        return PropertyType::BYTE_COLOR;
    else if constexpr (std::is_same_v<T, I_FColor>)
        return PropertyType::COLOR;
    else if constexpr (std::is_same_v<T, CN_LevelEntity::Vector>)
        return PropertyType::VECTOR;
    else {
        static_assert(IS_TEXT<T>);
        return PropertyType::TEXT;
    }
}

/// The range without what the type cannot hold.
template <class T> constexpr ValueRange rangeOf(ValueRange range) {
    using Number = std::conditional_t<std::is_same_v<T, I_FColor>, float, T>;
    if constexpr (std::is_arithmetic_v<Number>)
        return {std::max<double>(range.least, std::numeric_limits<Number>::lowest()),
                std::min<double>(range.most, std::numeric_limits<Number>::max())};
    else if constexpr (std::is_same_v<T, I_Color>)
        return {0, 255};
    else
        return range;
}

template <class T> PropertyValue toValue(const T& stored) {
    if constexpr (IS_TEXT<T>)
        return std::string(stored.data(), stored.size());
    else if constexpr (std::is_same_v<T, float>)
        return double{stored};
    else if constexpr (std::is_same_v<T, I_Color>)
        return I_FColor(stored);
    else
        return stored;
}

/// Stores the value; a colour keeps its alpha.
template <class T> void assign(T& stored, const PropertyValue& value) {
    if constexpr (IS_TEXT<T>) {
        const std::string& text = std::get<std::string>(value);
        stored.assign(text.data(), text.size());
    } else if constexpr (std::is_same_v<T, float>) {
        stored = static_cast<float>(std::get<double>(value));
    } else if constexpr (std::is_same_v<T, I_Color> || std::is_same_v<T, I_FColor>) {
        const auto alpha = stored.alpha;
        stored = std::get<I_FColor>(value);
        stored.alpha = alpha;
    } else {
        stored = std::get<T>(value);
    }
}

/// What a row says beyond how it reaches its value.
struct RowText {
    std::string_view name;
    KindSet kinds = 0;
    std::string_view help = {};
    ValueRange range = {};
    std::string (*refuse)(const CN_LevelEntity&, const PropertyValue&) = nullptr;
    void (*follow)(CN_LevelEntity&) = nullptr;
};

template <class T>
constexpr EntityProperty row(const RowText& text, PropertyValue (*get)(const CN_LevelEntity&),
                             void (*set)(CN_LevelEntity&, const PropertyValue&)) {
    return {text.name, text.kinds, typeOf<T>(), rangeOf<T>(text.range), text.help, get, set, text.refuse, text.follow};
}

/// A row of a pair of operations.
template <class Entity, auto Get, auto Set> constexpr EntityProperty accessed(const RowText& text) {
    using T = std::decay_t<std::invoke_result_t<decltype(Get), const Entity&>>;
    return row<T>(
        text, [](const CN_LevelEntity& entity) { return toValue<T>((as<Entity>(entity).*Get)()); },
        [](CN_LevelEntity& entity, const PropertyValue& value) {
            T stored = (as<Entity>(entity).*Get)();
            assign(stored, value);
            (as<Entity>(entity).*Set)(stored);
        });
}

/// A row of a field of a record that a pair of operations gives and takes as a whole.
template <class Entity, auto Get, auto Set, auto Field> constexpr EntityProperty field(const RowText& text) {
    using Record = std::decay_t<std::invoke_result_t<decltype(Get), const Entity&>>;
    using T = std::decay_t<std::invoke_result_t<decltype(Field), const Record&>>;
    return row<T>(
        text, [](const CN_LevelEntity& entity) { return toValue<T>((as<Entity>(entity).*Get)().*Field); },
        [](CN_LevelEntity& entity, const PropertyValue& value) {
            Record record = (as<Entity>(entity).*Get)();
            assign(record.*Field, value);
            (as<Entity>(entity).*Set)(record);
        });
}

} // namespace cairn::host
