#pragma once

/// @file
/// The umbrella: everything a host may use, in the order of the rooms, the lowest first.

#include "cairn/version.h"
