#pragma once

#include <string_view>

namespace cairn::test {

/// A run of the program: its words and the exit code it ends with.
struct SceneStage {
    std::string_view words;
    int code = 0;
};

/// Rooms and solids from nothing, in places and turns that are no round numbers, edited by every kind of command.
inline constexpr const char* SHEDS = R"EDIT(
# Two rooms with a door in a piece of the wall between them, under a sloping roof.
box :: Hall 0 0 0 8 3 6
loft :: Study 3  8 0 0  8 0 6  13 0 6  14 0 5  14 0 1  13 0 0
tilt ::Hall#1 8 3 0 8 3 6 -6
split ::Hall#4 0 0 1 0 0 2
split ::Hall#6 0 0 1 0 0 3.5
split ::Hall#6 0 1 0 0 2.25 0
split ::Study#2 0 0 1 0 0 2
split ::Study#8 0 0 1 0 0 3.5
split ::Study#8 0 1 0 0 2.25 0
exit ::Hall#7 ::Study#9 Door
tjunctions ::Hall 0.001
weld ::Hall 0.001
tjunctions ::Study 0.001
weld ::Study 0.001
push ::Hall#2 -1.1 0.1
box ::Hall Table 2 0 2 2 1 1.25 out
smooth ::Study Bay ::Study#3 ::Study#4 ::Study#5

# A shed that is turned, cut along slants, made whole again, reflected, stretched and moved onto a grid.
loft :: Shed 3.3  0 0 0  0.7 0 6.1  4.3 0 6.7  4.9 0 3.1  8.2 0 2.9  7.9 0 0.3
place ::Shed 20.1 0.3 -7.7
turn ::Shed y 33.3
turn ::Shed x -7.1
split ::Shed#0 0.3 0 1 4 0 3
split ::Shed#8 1 0 -0.7 2.5 0 2
unify ::Shed#8 ::Shed#9
tjunctions ::Shed 0.001
weld ::Shed 0.001
smooth ::Shed Round ::Shed#1 ::Shed#2 ::Shed#3
mirror ::Shed 0.3 0.2 1 1 2 3
scale ::Shed 1.1 0.9 -1.3
flip ::Shed
recenter ::Shed 0.125

# Rooms put into one mesh, and taken apart again with the door that one of them has.
box :: A 40 0 0 4 3 4
box :: B 50 0 0 4 3 4
box :: C 54 0 0 4 3 4
exit ::B#4 ::C#2 Gate
exit ::C#3 ::C#5 Window
seal ::C#3
add Waypoint ::B Spot 1 1 1
join ::A ::B
separate ::A#7 0.125

# A leaf that moves, with all that can be set of it.
box ::Hall Leaf 0 0 0 1 2 0.1 out
dynamic ::Hall::Leaf on
turn ::Hall::Leaf y 17.3
place ::Hall::Leaf 0.3 1.7 0.1
keyframe ::Hall::Leaf open
set ::Hall visible off

# Machines that speak to one another.
add enemy ::Hall Guard 2 0 2
add trigger ::Study Lever 4 1 4
add fsm :: Clock
add dynamic_pointlight :: Lamp 1 2 3
set ::Lamp falloff 7.3
fsm-state ::Hall::Guard idle
fsm-state ::Hall::Guard alert
fsm-state ::Study::Lever open
fsm-handler ::Clock OnUse
fsm-send ::Clock OnUse before "::Hall::Guard->FSM_Switch(alert);"
fsm-send ::Clock OnUse after "Print(\"<knock> & wait\");"
fsm-send ::Clock OnUse after "::Hall->EnableExit(1, Door);"
fsm-send ::Study::Lever T_Activate before "# somebody goes through"
fsm-send ::Study::Lever T_Activate state:open "::Hall::Guard->FSM_Switch(idle);"
fsm-send ::Hall::Guard FSM_Switch(alert) after "parent::parent::Study::Lever->FSM_Switch(open);"
fsm-rename-state ::Hall::Guard alert awake
rename ::Hall "Hall2"
move ::Clock ::Study
add Waypoint :: Gone
delete ::Gone
select ::Shed ::Hall2::Guard
)EDIT";

/// Changes a generated level.
inline constexpr const char* VILLAGE = R"EDIT(
texture ::Room1 Generated pillar fit
tjunctions ::Room2 0.001
weld ::Room2 0.001
smooth ::Room3 Round ::Room3#0 ::Room3#2 ::Room3#3
turn ::Room4 y 12.3
mirror ::Room5 1 0.2 0.1 1 2 3
scale ::Room6 1.1 0.7 1.3
recenter ::Room7 0.125
join ::Room8 ::Room9
delete ::Room2::Light
rename ::Room1 Market
)EDIT";

/// The runs of the program, each in the folder that those before it left.
inline constexpr SceneStage SCENE_STAGES[] = {
    {"generate --rooms 12 --seed 7 -o generated.cairn"},
    {"edit generated.cairn -o village.cairn --script village.edit"},
    {"new fresh.cairn --build scene"},
    {"edit fresh.cairn -o sheds.cairn --script sheds.edit"},
    {"import cellar.map -o cellar.cairn --scale 0.03"},
    {"content create names.db"},
    {"content add names.db skin guard monster_rat"},
    {"content add names.db level-item item_health"},
    {"content list names.db --json"},
    {"demo --out demo"},

    {"save sheds.cairn -o sheds_again.cairn"},
    {"save village.cairn -o village_again.cairn"},

    {"export village.cairn -o village.obj"},
    {"export village.cairn -o village.gltf"},
    {"export village.cairn -o village.glb"},
    {"export sheds.cairn -o sheds.obj"},
    {"export sheds.cairn -o sheds.glb"},
    {"export sheds.cairn -o sheds.xml"},
    {"export sheds.cairn -o sheds.script"},
    {"export sheds.cairn -o part.obj --filter shed"},
    {"export sheds.cairn -o part.xml --selection-only"},
    {"export cellar.cairn -o cellar.glb"},
    {"import village.obj -o back.cairn --textures ."},
    {"import sheds.obj -o sheds_back.cairn"},

    {"render village.cairn -o village.png --from 30 40 -20 --to 20 0 20"},
    {"render village.cairn -o village_top.png --top --wire"},
    {"render sheds.cairn -o sheds.png --wire --from -10 12 -8 --to 6 1 3 --size 320 200"},
    {"render sheds.cairn -o sheds.svg --from -10 12 -8 --to 6 1 3"},
    {"render village.cairn -o village.svg --top"},
    {"thumbs village.cairn -o thumbs.png"},
    {"textures village.cairn --extract images"},
    {"image images/generated_floor.tga -o floor.png"},

    {"info sheds.cairn --json"},
    {"info village.cairn"},
    {"tree sheds.cairn --json"},
    {"tree village.cairn"},
    {"check sheds.cairn village.cairn cellar.cairn back.cairn --json"},
    {"measure sheds.cairn --json"},
    {"measure village.cairn --json"},
    {"fsm sheds.cairn"},
    {"fsm sheds.cairn --json"},
    {"fsm sheds.cairn --dot"},
    {"refs sheds.cairn ::Hall2::Guard --json"},
    {"rooms village.cairn --json"},
    {"rooms village.cairn --dot"},
    {"where generated.cairn 1 1 1 --json"},
    {"explain village.cairn ::Room4 --json", 1},
};

/// Runs on "broken.cairn", which is the village with some of its bytes changed.
inline constexpr SceneStage BROKEN_STAGES[] = {
    {"recover broken.cairn -o recovered.cairn --json", 1},    {"recover broken.cairn -o recovered.cairn", 1},
    {"diff village.cairn recovered.cairn --json", 1},         {"diff generated.cairn village.cairn", 1},
    {"check recovered.cairn broken.cairn --force --json", 1},
};

/// Levels whose derived data is worked out.
inline constexpr const char* SCENE_LEVELS[] = {"village.cairn", "sheds.cairn",     "cellar.cairn",
                                               "back.cairn",    "demo/demo.cairn", "recovered.cairn"};

} // namespace cairn::test
