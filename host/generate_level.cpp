#include "host/generate_level.h"

#include "cairn/document/entity_factory.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/entities/dyn_pointlight.h"
#include "cairn/entities/mesh_entity.h"
#include "cairn/entities/trigger.h"
#include "cairn/foundation/exception.h"
#include "cairn/materials/material.h"
#include "cairn/materials/materials_category.h"
#include "host/console.h"
#include "host/exit_link.h"
#include "host/mesh_builder.h"
#include "host/script_line.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <memory>

namespace cairn::host {

namespace {

using Vector = CN_LevelEntity::Vector;

constexpr double CELL = 16; ///< side of the grid's cells; rooms stand in them with space between

/// Numbers by chance that are the same everywhere: SplitMix64 (G. Steele, D. Lea, C. Flood, "Fast Splittable Pseudorandom
/// Number Generators", 2014).
class Chance {
  public:
    explicit Chance(std::uint64_t seed) : m_state(seed) {}

    std::uint64_t next() {
        std::uint64_t z = m_state += 0x9E3779B97F4A7C15u;
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
        return z ^ (z >> 31);
    }
    /// From `least` to `most`.
    int number(int least, int most) {
        return least + static_cast<int>(next() % static_cast<std::uint64_t>(most - least + 1));
    }
    /// The same in steps of 1/8.
    double length(int least, int most) { return number(8 * least, 8 * most) / 8.0; }

  private:
    std::uint64_t m_state;
};

/// Materials of the generated level, each with a small picture of its own.
struct Surfaces {
    CN_Material *floor, *ceiling, *wall, *pillar;
};

/// An uncompressed Targa image of 16 by 16 pixels: fields of a colour in two shades, with dark joints.
std::vector<unsigned char> drawTexture(const std::array<int, 3>& rgb, Chance& chance) {
    constexpr int SIZE = 16, FIELD = 8;
    constexpr unsigned char TRUE_COLOR = 2, BITS = 24, FROM_TOP = 0x20;
    std::vector<unsigned char> bytes{0, 0, TRUE_COLOR, 0, 0, 0, 0, 0, 0, 0, 0, 0, SIZE, 0, SIZE, 0, BITS, FROM_TOP};
    for (int y = 0; y < SIZE; ++y)
        for (int x = 0; x < SIZE; ++x) {
            const bool joint = x % FIELD == 0 || y % FIELD == 0;
            const int shade = (joint ? -40 : (x / FIELD + y / FIELD) % 2 * 16) + chance.number(-4, 4);
            for (const int channel : {2, 1, 0})
                bytes.push_back(
                    static_cast<unsigned char>(std::clamp(rgb[static_cast<std::size_t>(channel)] + shade, 0, 255)));
        }
    return bytes;
}

Surfaces makeSurfaces(CN_Document& document, Chance& chance) {
    CN_TextureList& list = document.accessTextures();
    CN_MaterialsCategory& category = *document.accessMaterials().addCategory(&list, "Generated");
    const auto make = [&](const std::string& name, std::array<int, 3> rgb) {
        for (int& channel : rgb)
            channel += chance.number(-24, 24);
        const std::vector<unsigned char> bytes = drawTexture(rgb, chance);
        auto source = std::make_unique<unsigned char[]>(bytes.size());
        std::copy(bytes.begin(), bytes.end(), source.get());
        CN_Texture* const texture = list.addNew();
        texture->setName(("generated_" + name + ".tga").c_str());
        texture->setSourceFormat(I_Image::TGA);
        texture->setSource(source.release(), static_cast<int>(bytes.size()), true);
        constexpr int TEXELS_A_UNIT = 8;
        CN_Material* const material = category.add(TEXELS_A_UNIT, texture->name().str().c_str(), nullptr);
        material->setName(CString(name));
        return material;
    };
    return {make("floor", {150, 120, 90}), make("ceiling", {170, 175, 185}), make("wall", {160, 150, 130}),
            make("pillar", {110, 130, 140})};
}

struct GroundPoint {
    double x, z;
};
/// Runs clockwise in the picture with x to the right and z up; one of a hole the other way.
using Outline = std::vector<GroundPoint>;
using Loop = MeshBuilder::Loop;

Outline rectangle(double x0, double z0, double x1, double z1) { return {{x0, z0}, {x0, z1}, {x1, z1}, {x1, z0}}; }
template <class T> std::vector<T> reversed(const std::vector<T>& list) { return {list.rbegin(), list.rend()}; }

/// The walls that doors lead through: to the cells with the greater coordinates through a passage up to the cell's border, from
/// there through the wall, which stands on the border.
enum Side { RIGHT, BACK, LEFT, FRONT };
constexpr int SIDES = 4;

/// The exits of one room: null where no door is.
using Exits = std::array<CN_Polygon*, SIDES>;

/// Builds the polygons of one room, whose faces look inward.
class RoomBuilder {
  public:
    /// `width` and `depth` are where the walls to the right and at the back stand.
    RoomBuilder(CN_LevelEntityMesh& mesh, const Surfaces& surfaces, double width, double depth,
                const std::array<bool, SIDES>& doors)
        : m_mesh(mesh), m_surfaces(surfaces), m_walls{width, depth, 0, 0}, m_doors(doors) {}

    const Exits& getExits() const { return m_exits; }

    /// A room over an outline; pillars stand as holes in its floor and ceiling.
    void addPrism(const Outline& outline, const std::vector<Outline>& pillars, double height) {
        const Loop floor = addOutline(outline, 0), ceiling = addOutline(outline, height);
        addLevels(floor, ceiling, pillars, height);
        for (const Loop& side : sidesOf(floor, ceiling))
            addWall(side);
    }

    /// A box whose floor climbs to `rise` between `rampFrom` and `rampTo` of its depth; pillars stand on the lower part.
    void addRampRoom(double width, double depth, double height, double rampFrom, double rampTo, double rise,
                     const std::vector<Outline>& pillars) {
        const std::array<std::pair<double, double>, 4> profile{{{0, 0}, {rampFrom, 0}, {rampTo, rise}, {depth, rise}}};
        Loop left, right; // of the floor, from the front
        for (const auto& [z, y] : profile) {
            left.push_back(addVertex({0, y, z}));
            right.push_back(addVertex({width, y, z}));
        }
        const Loop ceiling = addOutline(rectangle(0, 0, width, depth), height);
        addLevels({left[0], left[1], right[1], right[0]}, ceiling, pillars, height);
        for (std::size_t i = 1; i < 3; ++i)
            addPolygon({{left[i], left[i + 1], right[i + 1], right[i]}}, m_surfaces.floor);
        addWall({left[0], ceiling[0], ceiling[1], left[3], left[2], left[1]});
        addWall({left[3], ceiling[1], ceiling[2], right[3]});
        addWall({right[0], right[1], right[2], right[3], ceiling[2], ceiling[3]});
        addWall({right[0], ceiling[3], ceiling[0], left[0]});
    }

    void finish() { m_mesh.finish(); }

  private:
    Loop addOutline(const Outline& outline, double y) {
        Loop loop;
        for (const GroundPoint& point : outline)
            loop.push_back(addVertex({point.x, y, point.z}));
        return loop;
    }

    void addLevels(const Loop& floor, const Loop& ceiling, const std::vector<Outline>& pillars, double height) {
        std::vector<Loop> below{floor}, above{reversed(ceiling)};
        for (const Outline& pillar : pillars) {
            const Loop bottom = addOutline(pillar, 0), top = addOutline(pillar, height);
            below.push_back(bottom);
            above.push_back(reversed(top));
            for (const Loop& side : sidesOf(bottom, top))
                addPolygon({side}, m_surfaces.pillar);
        }
        addPolygon(below, m_surfaces.floor);
        addPolygon(above, m_surfaces.ceiling);
    }

    static std::vector<Loop> sidesOf(const Loop& bottom, const Loop& top) {
        std::vector<Loop> sides;
        for (std::size_t i = 0; i < bottom.size(); ++i) {
            const std::size_t next = (i + 1) % bottom.size();
            sides.push_back({bottom[i], top[i], top[next], bottom[next]});
        }
        return sides;
    }

    static int axisOf(Side side) { return side == RIGHT || side == LEFT ? 0 : 2; }

    /// A wall, with an opening where a door leads through it.
    void addWall(const Loop& loop) {
        for (const Side side : {RIGHT, BACK, LEFT, FRONT}) {
            const bool stands = std::all_of(loop.begin(), loop.end(), [&](int corner) {
                return m_mesh.getPoint(corner)[axisOf(side)] == m_walls[side];
            });
            if (!stands || !m_doors[side])
                continue;
            const Loop door = addDoor(side, m_walls[side]);
            addPolygon({loop, reversed(door)}, m_surfaces.wall);
            return addPassage(side, door);
        }
        addPolygon({loop}, m_surfaces.wall);
    }

    /// The corners of a door at a place along the axis that leads through it, counter-clockwise seen from the room. It lies
    /// clear of floors and ceilings, however they run.
    Loop addDoor(Side side, double place) {
        constexpr double FROM = 1, TO = 2, SILL = 1.5, LINTEL = 3;
        Loop door;
        const bool upFirst = side == BACK || side == LEFT; // that way the loop turns there
        for (const auto& [isFar, isUp] :
             {std::pair(false, false), {!upFirst, upFirst}, {true, true}, {upFirst, !upFirst}}) {
            Vector corner;
            corner[axisOf(side)] = place;
            corner[2 - axisOf(side)] = isFar ? TO : FROM;
            corner.y = isUp ? LINTEL : SILL;
            door.push_back(addVertex(corner));
        }
        return door;
    }

    /// The exit behind a door in a wall, which ends a passage where the wall stands within its cell.
    void addPassage(Side side, const Loop& door) {
        Loop end = door;
        if (side == RIGHT || side == BACK) {
            end = addDoor(side, CELL);
            for (std::size_t i = 0; i < door.size(); ++i) {
                const std::size_t next = (i + 1) % door.size();
                addPolygon({{door[i], door[next], end[next], end[i]}}, m_surfaces.wall);
            }
        }
        m_exits[side] = &addPolygon({end}, m_surfaces.wall);
    }

    int addVertex(const Vector& point) { return m_mesh.addVertex(point); }
    CN_Polygon& addPolygon(const std::vector<Loop>& loops, CN_Material* material) {
        return m_mesh.addPolygon(loops, material);
    }

    MeshBuilder m_mesh;
    const Surfaces& m_surfaces;
    std::array<double, SIDES> m_walls; ///< where they stand along their axes
    std::array<bool, SIDES> m_doors;   ///< that are there
    Exits m_exits{};
};

class LevelGenerator {
  public:
    LevelGenerator(CN_Document& document, std::uint64_t seed)
        : m_document(document), m_seed(seed), m_surfaces(makeSurfaces(document, m_chance)) {}

    void generate(int rooms) {
        int side = 1;
        while (side * side < rooms)
            ++side;
        std::vector<Room> made;
        for (int i = 0; i < rooms; ++i) {
            made.push_back(addRoom(i, {i % side * CELL, 0, i / side * CELL},
                                   {i % side < side - 1 && i + 1 < rooms, i + side<rooms, i % side> 0, i >= side}));
            const auto link = [&](Side back, int other, Side there, int number) {
                if (CN_Polygon* const exit = made.back().exits[back])
                    linkExits(*made[static_cast<std::size_t>(other)].exits[there], *exit,
                              fmt::format("Door{}", number));
            };
            link(LEFT, i - 1, RIGHT, 2 * i);
            link(FRONT, i - side, BACK, 2 * i + 1);
            Progress::count();
        }
        for (const Room& room : made)
            addMachines(room);
        m_document.accessPlayer()->setPosition({1, 1, 1});
    }

  private:
    /// What of a room others speak to.
    struct Room {
        CN_LevelEntity *light, *trigger; ///< no trigger: null
        Exits exits;
    };

    template <class Entity> Entity& add(CN_LevelEntity& parent, int kind, const std::string& name, const Vector& at) {
        std::unique_ptr<CN_LevelEntity> made(CN_EntityFactory::instance()->createEntity(kind, &m_document));
        auto* const entity = dynamic_cast<Entity*>(made.get());
        if (!entity)
            throw new F_Exception(fmt::format("\"{}\" cannot be made", name));
        entity->setName(CString(name), false);
        parent.addOwned(std::move(made), false);
        entity->setPosition(at);
        return *entity;
    }

    Room addRoom(int index, const Vector& corner, const std::array<bool, SIDES>& doors) {
        // Mixed, not added: else the rooms of one seed would be the next ones of the seed before it.
        Chance chance(Chance(m_seed).next() ^ Chance(~static_cast<std::uint64_t>(index)).next());
        auto& room =
            add<CN_LevelEntityMesh>(*m_document.accessLevel(), CN_KIND_MESH, fmt::format("Room{}", index + 1), corner);
        const double width = chance.length(9, 15), depth = chance.length(9, 15), height = chance.length(4, 6);
        RoomBuilder builder(room, m_surfaces, width, depth, doors);
        constexpr double PILLARS_FROM = 3,
                         PILLARS_TO = 6; // in both directions: ahead of ramps and beside the L's notch
        std::vector<Outline> pillars;
        if (chance.number(0, 1) == 1) {
            const double side = chance.length(1, 2), x = chance.length(3, 4), z = chance.length(3, 4);
            static_assert(PILLARS_FROM + 3 <= PILLARS_TO);
            pillars.push_back(reversed(rectangle(x, z, x + side, z + side)));
        }
        switch (chance.number(0, 2)) {
        case 0:
            if (pillars.empty())
                pillars.push_back(reversed(rectangle(PILLARS_FROM, PILLARS_FROM, PILLARS_FROM + 1, PILLARS_FROM + 1)));
            builder.addPrism(rectangle(0, 0, width, depth), pillars, height);
            break;
        case 1: {
            const double x = chance.length(7, 8), z = chance.length(7, 8); // of the notch
            builder.addPrism({{0, 0}, {0, depth}, {x, depth}, {x, z}, {width, z}, {width, 0}}, pillars, height);
            break;
        }
        default:
            builder.addRampRoom(width, depth, height, 7, 8, chance.length(1, 2) / 2, pillars);
        }
        builder.finish();
        Room made = furnish(room, chance, height);
        made.exits = builder.getExits();
        return made;
    }

    Room furnish(CN_LevelEntityMesh& room, Chance& chance, double height) {
        auto& light = add<CN_LevelEntityDynPointlight>(room, CN_KIND_DYN_POINTLIGHT, "Light", {1.5, height - 1, 1.5});
        const auto channel = [&] { return static_cast<unsigned char>(chance.number(128, 255)); };
        const unsigned char red = channel(), green = channel(), blue = channel();
        light.setColor({red, green, blue});
        light.setFalloff(static_cast<float>(chance.number(8, 16)));
        if (chance.number(0, 3) != 0)
            return {&light, nullptr, {}};
        auto& trigger = add<CN_LevelEntityTrigger>(room, CN_KIND_TRIGGER, "Trigger", {2, 1, chance.length(1, 2)});
        trigger.setPlayerTrigger(true);
        trigger.setRadius(1);
        return {&light, &trigger, {}};
    }

    /// A light that comes on dims those behind the doors. A trigger lights its room and opens the doors, once, until the light
    /// dims.
    static void addMachines(const Room& room) {
        std::vector<const CN_Polygon*> doors;
        std::copy_if(room.exits.begin(), room.exits.end(), std::back_inserter(doors),
                     [](const CN_Polygon* exit) { return exit; });
        E_FSM& light = addMachine(*room.light, "lit");
        for (const CN_Polygon* const door : doors)
            send(light, light.createMessageHandler("FSM_Switch(lit)").m_sendAfter,
                 fmt::format("{}::Light->FSM_Switch(dim);", view(door->getExitDestinationMesh()->getQualifiedName())));
        if (!doors.empty()) // else nobody dims it
            light.addState("dim");
        if (!room.trigger)
            return;
        E_FSM& trigger = addMachine(*room.trigger, "waiting");
        trigger.addState("passed");
        E_FSM::MessageHandler& activate = trigger.createMessageHandler("T_Activate");
        E_FSM::MessageList& first = activate.m_sendOnState["waiting"];
        send(trigger, first, "parent::Light->FSM_Switch(lit);");
        for (const CN_Polygon* const door : doors)
            send(trigger, first, fmt::format("parent->EnableExit(1, {});", view(door->getExitName())));
        send(trigger, activate.m_sendAfter, "this->FSM_Switch(passed);");
        if (!doors.empty())
            send(light, light.createMessageHandler("FSM_Switch(dim)").m_sendBefore,
                 "parent::Trigger->FSM_Switch(waiting);");
    }

    /// The entity's machine, made where it has none, with a state, its default one.
    static E_FSM& addMachine(CN_LevelEntity& entity, const istring& state) {
        if (!entity.hasFSM())
            entity.createFSM();
        entity.accessFSM()->addState(state);
        return *entity.accessFSM();
    }

    static void send(E_FSM& machine, E_FSM::MessageList& messages, const std::string& line) {
        messages.push_back(readScriptLine(line, machine, nullptr));
    }

    CN_Document& m_document;
    std::uint64_t m_seed;
    Chance m_chance{m_seed};
    Surfaces m_surfaces;
};

} // namespace

void generateLevel(CN_Document& document, int rooms, std::uint64_t seed) {
    LevelGenerator(document, seed).generate(rooms);
}

} // namespace cairn::host
