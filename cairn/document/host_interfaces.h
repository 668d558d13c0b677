#pragma once

namespace cairn {

class CN_CairnLevel;
class CN_Document;
class CN_LevelEntity;
class CN_LevelEntityDynPointlight;
class CN_LevelEntityMesh;
class CN_LevelEntityPortal;
class CN_LevelEntityPrefabContent;
class CN_LevelEntityRadiosityLight;
class CN_LevelEntityTriMesh;
class CN_LevelEntityVolLightingBox;
class CN_UISphereEntity;

/// The host's document class: the library only passes its pointer.
class MFC_CairnDoc;

/// Learns of every change of the tree at once, after it was made. Where it throws the change stays.
class CN_HierarchyManagerInterface {
  public:
    virtual ~CN_HierarchyManagerInterface() = default;
    /// The entity has left its parent, and lives on.
    virtual void onEntityRemoved(CN_LevelEntity* entity) = 0;
    /// The entity stands among its parent's children. While a level is read it has all its descendants by then, but no
    /// place in the world yet.
    virtual void onEntityAdded(CN_LevelEntity* entity) = 0;
};

/// What draws one entity. Only the host calls it: the library keeps the pointer and deletes it with the entity.
class CN_EntityRendererInterface {
  public:
    virtual ~CN_EntityRendererInterface() = default;
    /// Brings the cached form up to date.
    virtual void update() = 0;
    /// Draws the entity as it is.
    virtual void draw() = 0;
    /// Draws the entity as a selected one.
    virtual void drawSelected() = 0;
    /// Frees what the device holds; the next `update` makes it anew.
    virtual void releaseDeviceObjects() = 0;
    /// True if the last `draw` touched the screen.
    virtual bool wasVisible() const = 0;
};

/// Makes the renderers of entities. Each operation gives a renderer that the entity then owns, or null.
class CN_EntityRendererFactory {
  public:
    virtual ~CN_EntityRendererFactory() = default;
    virtual CN_EntityRendererInterface* createVolLightingBoxRenderer(CN_LevelEntityVolLightingBox* entity) = 0;
    virtual CN_EntityRendererInterface* createRadiosityLightRenderer(CN_LevelEntityRadiosityLight* entity) = 0;
    virtual CN_EntityRendererInterface* createTriMeshRenderer(CN_LevelEntityTriMesh* entity) = 0;
    virtual CN_EntityRendererInterface* createPrefabContentRenderer(CN_LevelEntityPrefabContent* entity) = 0;
    virtual CN_EntityRendererInterface* createPortalRenderer(CN_LevelEntityPortal* entity) = 0;
    virtual CN_EntityRendererInterface* createUISphereRenderer(CN_UISphereEntity* entity) = 0;
    virtual CN_EntityRendererInterface* createDynPointlightRenderer(CN_LevelEntityDynPointlight* entity) = 0;
    virtual CN_EntityRendererInterface* createMeshRenderer(CN_LevelEntityMesh* entity) = 0;
    virtual CN_EntityRendererInterface* createLevelRenderer(CN_CairnLevel* entity) = 0;
};

/// Learns of changes of a document.
class CN_DocObserver {
  public:
    virtual ~CN_DocObserver() = default;
    /// Another document is in use now; `cause` is the observer that brought it about, or null.
    virtual void documentChangedNotification(MFC_CairnDoc* hostDocument, CN_Document* document,
                                             CN_DocObserver* cause) = 0;
    /// The document in use was changed.
    virtual void documentUpdatedNotification(CN_DocObserver* cause) = 0;
};

} // namespace cairn
