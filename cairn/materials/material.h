#pragma once

#include "cairn/foundation/strings.h"
#include "cairn/imaging/color.h"
#include "cairn/platform/bitmap.h"

#include <list>
#include <memory>
#include <vector>

namespace cairn {

class CN_MaterialsCategory;
class CN_RenderTexture;
class CN_Texture;
class CN_TextureList;
class F_MemoryFile;
class I_Image;
class Y_SharedDBSurfaceMaterial;
struct CN_IconLook;
struct CN_MaterialIcons;

/// Version of the chunk that holds a material.
inline constexpr int CAIRN_MATERIAL_VERSION = 5;

/// Says how a surface looks: the textures of its layers, their scales, and how it is drawn.
///
/// A material holds a counted reference on each texture it names: a texture that loses its last one leaves the texture
/// list, which deletes it. Polygons and triangles count themselves on the material in turn.
class CN_Material {
  public:
    using TextureVector = std::vector<CN_Texture*>;

    /// How the diffuse layer is laid over what stands behind it, by the numbers that level files store.
    enum DiffuseBlendType : int {
        BLEND_PLAIN = 0,
        BLEND_ALPHA_TEST = 1, ///< pixels below the alpha test value are left out
        BLEND_ALPHA = 2,      ///< by the alpha of each pixel
        BLEND_FLAGGED = 3,    ///< what the second flag of files up to version 1 asked for
        BLEND_DETAIL = 4,     ///< with the detail texture
    };
    /// What the alpha test value is until it is set, and where a file stores 0.
    static constexpr unsigned int DEFAULT_ALPHA_TEST_VALUE = 240;
    /// The sides of the square icons, in pixels.
    static constexpr int THUMB_SIZE = 64, LIST_ICON_SIZE = 32;

    CN_Material();
    /// Releases its textures.
    ~CN_Material();
    CN_Material(const CN_Material&) = delete;
    CN_Material& operator=(const CN_Material&) = delete;

    /// @name Record (material_record.cpp)
    /// @{
    /// Writes the material and the names of its textures.
    void save(F_MemoryFile& file) const;
    /// Reads what `save` wrote and takes the textures from the list, which must be set; reflection and gloss textures
    /// that the list lacks are read from their files. Makes the thumbnails. False where the material cannot be used: a
    /// diffuse texture without a name, which a message box tells, or a texture that is not to be had. Throws where the
    /// record is damaged. Either way the position stands behind the record unless the chunk itself is bad.
    bool load(F_MemoryFile& file);
    /// @}

    /// @name Textures
    /// Each takes a reference on the new texture, then releases the old one; nothing changes where they are the same.
    /// @{
    /// The frames of the material; slots may be empty.
    const TextureVector& getDiffuseTextures() const { return m_diffuseTextures; }
    /// Replaces all frames. Textures that the old and the new frames share stay.
    void setDiffuseTextures(const TextureVector& textures);
    /// Replaces all frames by textures of the list; a name that is not found leaves its slot empty.
    void setDiffuseTextures(const std::vector<CString>& names);
    /// Puts the texture, which may be null, into the first empty slot, or into a new one where none is empty. The first
    /// texture sets the diffuse scale unless that was set. Makes the thumbnails where the slot is the visible frame.
    void addDiffuseTexture(CN_Texture* texture);
    /// Adds the texture of that name; false, and nothing changed, where the list has none.
    bool addDiffuseTexture(const char* name);
    /// The first texture sets the light scale unless that was set.
    void setLightTexture(CN_Texture* texture);
    /// The first texture sets the detail scale to 1 unless that was set.
    void setDetailTexture(CN_Texture* texture);
    void setReflectionTexture(CN_Texture* texture);
    void setGlossTexture(CN_Texture* texture);
    /// Puts `texture`, which may be null, into `slot`, one of this material's, and moves the references. A texture of
    /// this material's list whose last reference goes leaves the list.
    void changeTexture(CN_Texture*& slot, CN_Texture* texture);
    /// The optional layers, null for none.
    CN_Texture* getLightTexture() const { return m_lightTexture; }
    CN_Texture* getDetailTexture() const { return m_detailTexture; }
    CN_Texture* getReflectionTexture() const { return m_reflectionTexture; }
    CN_Texture* getGlossTexture() const { return m_glossTexture; }
    bool hasLightLayer() const { return m_lightTexture != nullptr; }
    bool hasDetailTexture() const { return m_detailTexture != nullptr; }
    bool hasReflectionTexture() const { return m_reflectionTexture != nullptr; }
    bool hasGlossTexture() const { return m_glossTexture != nullptr; }
    /// The diffuse texture of the visible frame, null where that frame is empty or there is none.
    CN_Texture* getTexture() const;
    /// Its device side, null where there is none.
    CN_RenderTexture* getRenderTexture() const;
    /// @}

    /// Takes over what the other says of a surface: textures, name, scales, blending and flags. Category, list, use
    /// count and the host's mark stay; the icons are of the new look.
    void copyProperties(const CN_Material* other);
    /// True where both look alike and have the same name; names, the textures' too, compare without regard to case. The
    /// detail, reflection and gloss textures count only where they are used. Scales don't count.
    bool operator==(const CN_Material& other) const;

    /// @name Scales
    /// @{
    /// Diffuse and light scale become the default scales of the visible frame's and the light texture.
    void resetScalings();
    /// The scale of the diffuse layer where `diffuse` is true, else that of the light layer.
    void getTiles(double& u, double& v, bool diffuse) const;
    /// Sets it; textures that are added later leave it alone.
    void setTiles(double u, double v, bool diffuse);
    double getDetailScale() const { return m_detailScale; }
    void setDetailScale(double scale);
    /// Texels per unit for default scales; at or below 0 default scales are 1.
    int getDefaultScale() const { return m_defaultScale; }
    void setDefaultScale(int texelsPerUnit) { m_defaultScale = texelsPerUnit; }
    /// True where the layer's scale has been set, so that a new texture leaves it alone.
    bool isDiffuseScaled() const { return m_diffuseScaled; }
    bool isLightScaled() const { return m_lightScaled; }
    bool isDetailScaled() const { return m_detailScaled; }
    /// @}

    /// @name Thumbnails (material_thumbnail.cpp)
    /// @{
    /// Makes both icons of the visible frame, which costs a decode of its texture. They stay as they are where the frame
    /// is empty or its texture does not decode.
    void createThumbnail();
    /// Replaces `out`, which is deleted, by a new image: the source as a whole in the upper left corner, a checker
    /// around and behind it, and the overlays of the list. The average colour becomes that of the image.
    void createIconImage(I_Image*& out, const I_Image* source, const int& width, const int& height);
    /// Marks the material for the host, and makes the icons anew.
    void setLocated(bool located);
    bool isLocated() const { return m_located; }
    /// The bitmap of the 64 by 64 icon, null before there is one; valid until the icons are made anew.
    HBITMAP getDIB() const { return shareDIB().get(); }
    /// The bitmap of the 32 by 32 icon, likewise.
    HBITMAP getListDIB() const { return shareListDIB().get(); }
    /// The same bitmaps for whoever keeps them; materials that look alike may share theirs.
    std::shared_ptr<const Bitmap> shareDIB() const;
    std::shared_ptr<const Bitmap> shareListDIB() const;
    /// The icons themselves, null and valid likewise.
    const I_Image* getThumbImage() const;
    const I_Image* getListImage() const;
    /// Mean colour of the icon made last, without its overlays.
    const I_FColor& getAverageValue() const { return m_averageValue; }
    /// The index in the category's list of 32 by 32 icons, -1 for none.
    int getImgIndex() const { return m_imgIndex; }
    /// @}

    /// @name Use count
    /// How many polygons and triangles have this material: they count themselves.
    /// @{
    int getUseCount() const { return m_useCount; }
    void incrementUseCount() { ++m_useCount; }
    /// Does nothing at 0.
    void decrementUseCount() {
        if (m_useCount > 0)
            --m_useCount;
    }
    /// @}

    /// The surface material of the content database that has this material's name; null where there is no database or
    /// no such name. Valid as long as the database.
    const Y_SharedDBSurfaceMaterial* getY_SharedDBSurfaceMaterial() const;

    /// @name Fields
    /// @{
    const CString& name() const { return m_name; }
    /// The category that holds the material finds it under the new name from now on.
    void setName(const CString& name);
    CN_TextureList* getList() const { return m_list; }
    /// Where textures come from; not owned, and must outlive the textures that the material holds.
    void setList(CN_TextureList* list) { m_list = list; }
    CN_MaterialsCategory* getParent() const { return m_parent; }
    void setParent(CN_MaterialsCategory* parent) { m_parent = parent; }
    DiffuseBlendType getBlendType() const { return m_blendType; }
    void setBlendType(DiffuseBlendType type) { m_blendType = type; }
    bool isAlpha() const { return m_blendType == BLEND_ALPHA_TEST || m_blendType == BLEND_ALPHA; }
    bool doesAlphaTest() const { return m_blendType == BLEND_ALPHA_TEST; }
    bool getEdgeBlend() const { return m_edgeBlend; }
    void setEdgeBlend(bool blend) { m_edgeBlend = blend; }
    unsigned int getAlphaTestValue() const { return m_alphaTestValue; }
    void setAlphaTestValue(unsigned int value) { m_alphaTestValue = value; }
    bool getAdultContent() const { return m_adultContent; }
    void setAdultContent(bool adult) { m_adultContent = adult; }
    bool getUsesReflection() const { return m_usesReflection; }
    void setUsesReflection(bool uses) { m_usesReflection = uses; }
    bool getUsesGloss() const { return m_usesGloss; }
    void setUsesGloss(bool uses) { m_usesGloss = uses; }
    bool isDoubleSided() const { return m_doubleSided; }
    void setDoubleSided(bool doubleSided) { m_doubleSided = doubleSided; }
    /// The frame that is shown, an index into the diffuse textures; there may be none at it.
    int getVisibleFrame() const { return m_visibleFrame; }
    void setVisibleFrame(int frame) { m_visibleFrame = frame; }
    /// Frames per second of an animated material.
    int getFramerate() const { return m_framerate; }
    void setFramerate(int framesPerSecond) { m_framerate = framesPerSecond; }
    /// @}

  private:
    friend class CN_MaterialsCategory;
    struct RecordNames;

    void replaceDiffuseTextures(TextureVector textures);
    void scaleDiffuse(const CN_Texture* texture);
    void defaultScaleOf(const CN_Texture& texture, double& u, double& v) const;
    CN_Texture* findTexture(const CString& name) const;
    void release(CN_Texture* texture);
    CN_IconLook getLook() const;
    std::unique_ptr<I_Image> makeIcon(const I_Image& source, int size);
    void readFields(F_MemoryFile& file, int version, RecordNames& names);
    void repairNumbers();
    bool takeTextures(const RecordNames& names);
    void reportRepair(const string& text) const;

    double m_diffuseTileU = 1.0, m_diffuseTileV = 1.0; ///< scale of the diffuse layer
    double m_lightTileU = 1.0, m_lightTileV = 1.0;     ///< scale of the light layer
    double m_detailScale = 1.0;                        ///< scale of the detail layer
    bool m_diffuseScaled = false;                      ///< the layer's scale has been set
    bool m_lightScaled = false;
    bool m_detailScaled = false;
    CString m_name;                            ///< unique within the category
    TextureVector m_diffuseTextures;           ///< counted: the frames, null for an empty slot
    CN_Texture* m_lightTexture = nullptr;      ///< counted
    CN_Texture* m_detailTexture = nullptr;     ///< counted
    CN_Texture* m_reflectionTexture = nullptr; ///< counted
    CN_Texture* m_glossTexture = nullptr;      ///< counted
    bool m_usesReflection = false;
    bool m_usesGloss = false;
    CN_TextureList* m_list = nullptr;         ///< not owned: where textures come from
    CN_MaterialsCategory* m_parent = nullptr; ///< not owned: the category that owns this
    bool m_doubleSided = false;
    bool m_edgeBlend = false;
    unsigned int m_alphaTestValue = DEFAULT_ALPHA_TEST_VALUE;
    bool m_adultContent = false;
    I_FColor m_averageValue{0.0f, 0.0f, 0.0f, 255.0f};
    std::shared_ptr<const CN_MaterialIcons> m_icons; ///< perhaps shared; null until there are some
    int m_imgIndex = -1;                             ///< in the category's list image list
    int m_defaultScale = 0;                          ///< texels per unit
    DiffuseBlendType m_blendType = BLEND_PLAIN;
    bool m_located = false; ///< marked in the host: icons show the cross hair
    int m_visibleFrame = 0; ///< index into m_diffuseTextures
    int m_framerate = 1;    ///< frames per second
    int m_useCount = 0;     ///< polygons and triangles with this material

    CN_MaterialsCategory* m_indexedBy = nullptr;          ///< not owned: the category whose index has this name
    std::list<CN_Material*>::const_iterator m_place = {}; ///< in that category's list; valid where m_indexedBy is set
};

} // namespace cairn
