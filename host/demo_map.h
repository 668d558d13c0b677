#pragma once

namespace cairn::host {

/// A small map for the demonstration: a floor, a door and what stands on the floor.
inline constexpr const char* DEMO_MAP = R"MAP(// A cellar for the demonstration of cairn
{
"classname" "worldspawn"
"message" "The Cellar"
{
( -256 -256 -16 ) ( -256 -255 -16 ) ( -256 -256 -15 ) stone 0 0 0 1 1
( -256 -256 -16 ) ( -256 -256 -15 ) ( -255 -256 -16 ) stone 0 0 0 1 1
( -256 -256 -16 ) ( -255 -256 -16 ) ( -256 -255 -16 ) stone 0 0 0 1 1
( 256 256 0 ) ( 256 257 0 ) ( 257 256 0 ) stone 0 0 0 1 1
( 256 256 0 ) ( 257 256 0 ) ( 256 256 1 ) stone 0 0 0 1 1
( 256 256 0 ) ( 256 256 1 ) ( 256 257 0 ) stone 0 0 0 1 1
}
}
{
"classname" "info_player_start"
"origin" "-192 0 24"
"angle" "90"
}
{
"classname" "light"
"origin" "0 128 96"
"light" "240"
"_color" "1 0.8 0.6"
}
{
"classname" "light"
"origin" "0 -128 96"
}
{
"classname" "item_health"
"origin" "64 64 8"
}
{
"classname" "monster_rat"
"origin" "128 -64 24"
"angle" "180"
"target" "corner1"
}
{
"classname" "path_corner"
"origin" "160 160 8"
"targetname" "corner1"
}
{
"classname" "func_door"
"angle" "-1"
{
( 64 240 0 ) ( 64 241 0 ) ( 64 240 1 ) door [ 0 1 0 0 ] [ 0 0 -1 0 ] 0 1 1
( 64 240 0 ) ( 64 240 1 ) ( 65 240 0 ) door [ 0 1 0 0 ] [ 0 0 -1 0 ] 0 1 1
( 64 240 0 ) ( 65 240 0 ) ( 64 241 0 ) door [ 0 1 0 0 ] [ 0 0 -1 0 ] 0 1 1
( 128 256 96 ) ( 128 257 96 ) ( 129 256 96 ) door [ 0 1 0 0 ] [ 0 0 -1 0 ] 0 1 1
( 128 256 96 ) ( 129 256 96 ) ( 128 256 97 ) door [ 0 1 0 0 ] [ 0 0 -1 0 ] 0 1 1
( 128 256 96 ) ( 128 256 97 ) ( 128 257 96 ) door [ 0 1 0 0 ] [ 0 0 -1 0 ] 0 1 1
}
}
)MAP";

} // namespace cairn::host
