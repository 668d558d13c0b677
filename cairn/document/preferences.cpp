#include "cairn/document/preferences.h"

#include "cairn/foundation/ascii.h"
#include "cairn/foundation/memory_file.h"

#include <algorithm>
#include <cmath>
#include <string_view>

namespace cairn {

namespace {

constexpr const char* ANGLE_STEPS = "0.5;1;1.25;2;2.5;5;10;11.25;15;22.5;45";
constexpr const char* GRID_STEPS = "0.00390625;0.0078125;0.015625;0.03125;0.0625;0.125;0.25;0.5;"
                                   "1.0;2.0;4.0;8.0;16.0;32.0;64.0;128.0;256.0;512.0";

/// Longer than any list that a person keeps, and short enough that its pieces need no memory to speak of.
constexpr int MAX_TEXT_LENGTH = 0x10000;

/// Calls `take` on each piece of `text` between the separators; one piece, an empty one, where the text is empty.
template <class Take> void split(std::string_view text, char separator, Take&& take) {
    for (std::size_t end; (end = text.find(separator)) != std::string_view::npos; text.remove_prefix(end + 1))
        take(text.substr(0, end));
    take(text);
}

void readText(F_MemoryFile& file, CString& text) {
    file >> text;
    if (text.GetLength() > MAX_TEXT_LENGTH)
        file.fail(formatText("A text of %d bytes in the preferences is longer than the %d that are allowed",
                             text.GetLength(), MAX_TEXT_LENGTH));
}

} // namespace

CN_DocumentPreferences::CN_DocumentPreferences() {
    for (const char* name : {"Diffuse only", "Lightmap only", "Diffuse * Lightmap", "Light layer only"})
        m_renderingModeNames.Add(name);
    setDefaultValues();
}

void CN_DocumentPreferences::setDefaultValues() {
    m_reserved = 0;
    m_backplane = 1000;
    m_frontplane = 0.1;
    m_fov = 70;
    m_exitAcceleration = true;
    m_renderingMode = RENDER_DIFFUSE;
    m_connectedRooms = 3;
    m_angleSnap = 15;
    m_angleSnapText = ANGLE_STEPS;
    m_gridScaleText = GRID_STEPS;
    m_defaultUVScale = 128;
    m_lightMapRes = 2;
    m_averageLightmapBorder = true;
    m_viewportSize = 256;
    m_globalLightmapRes = 100;
    m_defaultLightColor = 0xffffff;
    m_defaultLightIntensity = 100;
    m_gisMaxEnergyPerShoot = 20;
    m_gisStopAtEnergy = 2;
    m_gisIgnorePortals = false;
    m_exportParamsText.Empty();
    m_bgColor = I_Color(0, 0, 0, 255);
    parseTexts();
}

void CN_DocumentPreferences::parseTexts() {
    setStepValues(m_gridScaleText, m_gridScaleSteps);
    setStepValues(m_angleSnapText, m_angleSnapSteps);
    setExportParamValues();
}

void CN_DocumentPreferences::setStepValues(const CString& text, std::vector<double>& steps) {
    steps.clear();
    split(text.view(), ';', [&](std::string_view piece) { steps.push_back(parseDouble(piece)); });
}

void CN_DocumentPreferences::setExportParamValues() {
    m_exportParams.RemoveAll();
    if (!m_exportParamsText.IsEmpty())
        split(m_exportParamsText.view(), ' ', [&](std::string_view piece) { m_exportParams.Add(CString(piece)); });
}

bool CN_DocumentPreferences::checkStepValues(const CString& text) {
    const auto isStepCharacter = [](char c) { return asciiIsDigit(c) || c == '.' || c == ';'; };
    if (!std::all_of(text.view().begin(), text.view().end(), isStepCharacter))
        return false;
    std::vector<double> steps;
    setStepValues(text, steps);
    // Rising from above 0, each is above 0.
    const bool rises = std::adjacent_find(steps.begin(), steps.end(), std::greater_equal<>()) == steps.end();
    return steps.front() > 0 && rises && std::find(steps.begin(), steps.end(), 1.0) != steps.end();
}

bool CN_DocumentPreferences::getRenderingModeString(int mode, CString& out) const {
    if (mode < 0 || mode >= m_renderingModeNames.GetSize())
        return false;
    out = m_renderingModeNames[mode];
    return true;
}

// Version 6: background colour at the end; no bool behind the angle steps.
// Version 5: angle steps; a bool behind them, of no use any more.
// Version 4: export parameters at the end.
// Version 3: ignore portals at the end.
// Version 2: no bool behind average border, no two numbers and a double behind the viewport size.
// Version 1: the oldest.

void CN_DocumentPreferences::saveDocumentPreferences(F_MemoryFile& file) const {
    file.createChunk(0, CAIRN_DOC_PREFERENCES_VERSION);
    file << m_reserved << m_backplane << m_frontplane << m_fov << m_exitAcceleration;
    file << static_cast<int>(m_renderingMode) << m_connectedRooms << m_angleSnap << m_angleSnapText;
    file << m_gridScaleText << m_defaultUVScale << m_lightMapRes << m_averageLightmapBorder;
    file << m_viewportSize;
    file << m_globalLightmapRes << m_defaultLightColor << m_defaultLightIntensity;
    file << m_gisMaxEnergyPerShoot << m_gisStopAtEnergy << m_gisIgnorePortals;
    file << m_exportParamsText;
    writeColor(file, m_bgColor);
    file.closeChunk();
}

void CN_DocumentPreferences::loadDocumentPreferences(F_MemoryFile& file) {
    F_MemoryFile::Chunk chunk;
    file.openChunk(chunk, 0);
    const int version = chunk.getVersion();
    F_MemoryFile& in = chunk.getMemoryFile();
    CN_DocumentPreferences read(*this);
    int mode = 0;
    bool unusedBool = false;

    in >> read.m_reserved >> read.m_backplane >> read.m_frontplane >> read.m_fov >> read.m_exitAcceleration;
    in >> mode >> read.m_connectedRooms >> read.m_angleSnap;
    read.m_renderingMode = static_cast<e_RenderingMode>(mode);
    if (version > 4)
        readText(in, read.m_angleSnapText);
    if (version <= 5)
        in >> unusedBool;
    readText(in, read.m_gridScaleText);
    in >> read.m_defaultUVScale >> read.m_lightMapRes >> read.m_averageLightmapBorder;
    if (version <= 1)
        in >> unusedBool;
    in >> read.m_viewportSize;
    if (version <= 1) {
        unsigned int unused = 0;
        double unusedDouble = 0;
        in >> unused >> unused >> unusedDouble;
    }
    in >> read.m_globalLightmapRes >> read.m_defaultLightColor >> read.m_defaultLightIntensity;
    in >> read.m_gisMaxEnergyPerShoot >> read.m_gisStopAtEnergy;
    read.m_gisIgnorePortals = false;
    if (version > 2)
        in >> read.m_gisIgnorePortals;
    if (version > 3)
        readText(in, read.m_exportParamsText);
    if (version > 5)
        readColor(in, read.m_bgColor);
    file.skipChunk();

    read.parseTexts();
    *this = read;
}

string CN_DocumentPreferences::repairNumbers() {
    const CN_DocumentPreferences defaults;
    string repaired;
    const auto repair = [&](auto CN_DocumentPreferences::*field, const char* name) {
        if (std::isfinite(this->*field))
            return;
        this->*field = defaults.*field;
        repaired += (repaired.empty() ? "" : ", ") + string(name);
    };
    repair(&CN_DocumentPreferences::m_backplane, "back plane");
    repair(&CN_DocumentPreferences::m_frontplane, "front plane");
    repair(&CN_DocumentPreferences::m_fov, "field of view");
    repair(&CN_DocumentPreferences::m_angleSnap, "angle snap");
    repair(&CN_DocumentPreferences::m_lightMapRes, "lightmap resolution");
    repair(&CN_DocumentPreferences::m_globalLightmapRes, "global lightmap resolution");
    repair(&CN_DocumentPreferences::m_defaultLightIntensity, "default light intensity");
    repair(&CN_DocumentPreferences::m_gisMaxEnergyPerShoot, "maximum energy per shoot");
    repair(&CN_DocumentPreferences::m_gisStopAtEnergy, "stop at energy");
    return repaired;
}

} // namespace cairn
