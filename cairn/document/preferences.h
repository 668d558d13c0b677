#pragma once

#include "cairn/foundation/strings.h"
#include "cairn/imaging/color.h"

#include <vector>

namespace cairn {

class F_MemoryFile;

/// Version of the chunk that holds the preferences.
inline constexpr int CAIRN_DOC_PREFERENCES_VERSION = 6;

/// What a view of the level shows.
enum e_RenderingMode : int {
    RENDER_DIFFUSE = 0,
    RENDER_LIGHTMAP = 1,
    RENDER_DIFFUSE_TIMES_LIGHTMAP = 2,
    RENDER_LIGHT_LAYER = 3,
};

/// The settings of one level: view planes, snapping steps, lightmap resolutions, limits of the light solver, export
/// parameters, background colour. Most are stored for hosts and mean nothing to the library itself.
class CN_DocumentPreferences {
  public:
    CN_DocumentPreferences();
    virtual ~CN_DocumentPreferences() = default;
    CN_DocumentPreferences(const CN_DocumentPreferences&) = default;
    CN_DocumentPreferences& operator=(const CN_DocumentPreferences&) = default;

    double getBackplane() const { return m_backplane; }
    double getFrontplane() const { return m_frontplane; }
    /// Degrees.
    double getFOV() const { return m_fov; }
    void setFOV(double degrees) { m_fov = degrees; }
    bool isExitAcceleration() const { return m_exitAcceleration; }
    /// One of `e_RenderingMode`, or another number that a file holds.
    e_RenderingMode getRenderingMode() const { return m_renderingMode; }
    void setRenderingMode(e_RenderingMode mode) { m_renderingMode = mode; }
    unsigned int getConnectedRooms() const { return m_connectedRooms; }
    /// Degrees.
    double getAngleSnap() const { return m_angleSnap; }
    void setAngleSnap(double degrees) { m_angleSnap = degrees; }
    const std::vector<double>& getAngleSnapSteps() const { return m_angleSnapSteps; }
    const std::vector<double>& getGridScaleSteps() const { return m_gridScaleSteps; }
    unsigned int getDefaultUVScale() const { return m_defaultUVScale; }
    double getLightMapRes() const { return m_lightMapRes; }
    bool isAverageLightmapBorder() const { return m_averageLightmapBorder; }
    unsigned int getViewportSize() const { return m_viewportSize; }
    double getGlobalLightmapRes() const { return m_globalLightmapRes; }
    /// 0xRRGGBB.
    unsigned long getDefaultLightColor() const { return m_defaultLightColor; }
    float getDefaultLightIntensity() const { return m_defaultLightIntensity; }
    float getGISMaxEnergyPerShoot() const { return m_gisMaxEnergyPerShoot; }
    float getGISStopAtEnergy() const { return m_gisStopAtEnergy; }
    bool getGISIgnorePortals() const { return m_gisIgnorePortals; }
    /// The export parameters text, split at each blank; empty pieces stand too, but an empty text has none.
    const CStringArray& getExportParams() const { return m_exportParams; }
    const I_Color& getBGColor() const { return m_bgColor; }
    /// Gives the name of a mode and true; false for a number that is none, `out` unchanged.
    bool getRenderingModeString(int mode, CString& out) const;

    /// True for a list of steps that a host may take over: digits, "." and ";" alone, values above 0 that rise
    /// strictly, one of them exactly 1.
    static bool checkStepValues(const CString& text);

    void saveDocumentPreferences(F_MemoryFile& file) const;
    /// Reads any version of the record. Fields that an older one lacks keep their values, but for "ignore portals",
    /// which becomes false. Throws on damage, and on a text of more than 65,536 bytes; nothing is changed then.
    void loadDocumentPreferences(F_MemoryFile& file);
    /// Gives every number that is infinite or NaN its default: a setting is not worth a level. The names of those
    /// fields, comma-separated; empty where all were well.
    string repairNumbers();

  protected:
    /// Sets every stored field to its default, and what is parsed of them.
    void setDefaultValues();

  private:
    static void setStepValues(const CString& text, std::vector<double>& steps);
    void setExportParamValues();
    void parseTexts();

    unsigned int m_reserved;           ///< stored, no meaning here
    double m_backplane, m_frontplane;  ///< level units
    double m_fov;                      ///< degrees
    bool m_exitAcceleration;           ///< views are built along the exits
    e_RenderingMode m_renderingMode;   ///< as the file has it
    unsigned int m_connectedRooms;     ///< rooms shown about the viewer's
    double m_angleSnap;                ///< degrees
    CString m_angleSnapText;           ///< steps, ";" between them
    CString m_gridScaleText;           ///< steps, ";" between them
    unsigned int m_defaultUVScale;     ///< texels a unit
    double m_lightMapRes;              ///< of new lightmaps
    bool m_averageLightmapBorder;      ///< borders of lightmaps are averaged
    unsigned int m_viewportSize;       ///< of the light solver
    double m_globalLightmapRes;        ///< percent
    unsigned long m_defaultLightColor; ///< 0xRRGGBB
    float m_defaultLightIntensity;
    float m_gisMaxEnergyPerShoot, m_gisStopAtEnergy;
    bool m_gisIgnorePortals;
    CString m_exportParamsText; ///< words, a blank between them
    I_Color m_bgColor;

    std::vector<double> m_gridScaleSteps, m_angleSnapSteps; ///< of the texts
    CStringArray m_exportParams;                            ///< of the text
    CStringArray m_renderingModeNames;                      ///< by mode
};

} // namespace cairn
