#include "cairn/document/camera.h"
#include "cairn/document/selection.h"
#include "cairn/entities/cairn_level.h"
#include "cairn/lighting/lightmap_pool.h"
#include "cairn/materials/material.h"
#include "host/image_formats.h"
#include "host/level_diff.h"
#include "host/text.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

namespace cairn::host {

namespace {

/// What a member of the document writes.
template <class Write> std::string written(Write&& write) {
    F_MemoryFile file;
    write(file);
    return {static_cast<const char*>(file.getAddress()), file.getSize()};
}

std::string preferencesBytes(const CN_DocumentPreferences& preferences) {
    return written([&](F_MemoryFile& file) { preferences.saveDocumentPreferences(file); });
}

void describePreferences(const CN_DocumentPreferences& p, FactSink& facts) {
    const auto tell = [&facts](std::string_view name, double value) {
        facts.word(fmt::format("preference {}", name), toNumberText(value));
    };
    tell("back plane", p.getBackplane());
    tell("front plane", p.getFrontplane());
    tell("field of view", p.getFOV());
    tell("exit acceleration", p.isExitAcceleration());
    tell("rendering mode", p.getRenderingMode());
    tell("connected rooms", p.getConnectedRooms());
    tell("angle snap", p.getAngleSnap());
    facts.word("preference angle snap steps", toNumbersText(p.getAngleSnapSteps()));
    facts.word("preference grid scale steps", toNumbersText(p.getGridScaleSteps()));
    tell("default texture scale", p.getDefaultUVScale());
    tell("lightmap resolution", p.getLightMapRes());
    tell("average lightmap border", p.isAverageLightmapBorder());
    tell("viewport size", p.getViewportSize());
    tell("global lightmap resolution", p.getGlobalLightmapRes());
    facts.word("preference default light color", fmt::format("0x{:06x}", p.getDefaultLightColor()));
    tell("default light intensity", p.getDefaultLightIntensity());
    tell("light solver energy", p.getGISMaxEnergyPerShoot());
    tell("light solver end", p.getGISStopAtEnergy());
    tell("light solver ignores portals", p.getGISIgnorePortals());
    const I_Color& background = p.getBGColor();
    facts.word("preference background",
               fmt::format("{},{},{},{}", background.red, background.green, background.blue, background.alpha));
}

void describeSettingsOf(const CN_Document& document, FactSink& facts) {
    facts.word("build", view(document.getInfoDocumentCreatedWithBuild()));
    facts.flag("children are selected with parents", document.getAutoSelectChildren());
    const CN_Camera& camera = *document.getCNCamera();
    facts.numbers("camera position", {camera.pos().x, camera.pos().y, camera.pos().z});
    const M_Vector3Template<float> angles = camera.getAngles();
    facts.numbers("camera angles", {angles.x, angles.y, angles.z});
    facts.numbers("camera speed", {camera.getSpeed()});
    for (const auto& [group, enemies] : document.getAICharacterGroups())
        facts.word(fmt::format("group {}", view(group)), view(group));
    const CN_LightmapCurve& curve = document.getLightmaps()->getLightmapCurve();
    facts.numbers("lightmap curve",
                  {curve.getMiddle(), curve.getOutputMin(), curve.getOutputMax(), curve.getEqualization()});
    describePreferences(document.getPreferences(), facts);
}

void compareSettings(const CN_Document& first, const CN_Document& second, ChangeList& changes) {
    FactList before, after;
    describeSettingsOf(first, before);
    describeSettingsOf(second, after);
    changes.compareFacts(before.get(), after.get());
    FactList preferencesBefore, preferencesAfter;
    describePreferences(first.getPreferences(), preferencesBefore);
    describePreferences(second.getPreferences(), preferencesAfter);
    bool told = false;
    forEachDifference(preferencesBefore.get(), preferencesAfter.get(),
                      [&told](const Fact*, const Fact*) { told = true; });
    // Texts are stored of which only what they mean can be asked for.
    if (!told && preferencesBytes(first.getPreferences()) != preferencesBytes(second.getPreferences()))
        changes.addChanged("preferences", std::nullopt, std::nullopt);
}

std::vector<NamedThing> texturesOf(const CN_Document& document) {
    std::vector<NamedThing> things;
    for (const CN_Texture& texture : document.getTextures().list()) {
        NamedThing thing{fmt::format("texture {}", texture.name().view()), {}};
        thing.facts.bytes(
            "",
            fmt::format("{}, {} x {}, {} bytes", formatName(texture.getSourceFormat()).word, texture.getWidth(),
                        texture.getHeight(), texture.getSourceSize()),
            {static_cast<const char*>(texture.getSource()), static_cast<std::size_t>(texture.getSourceSize())});
        things.push_back(std::move(thing));
    }
    return things;
}

std::string textureName(const CN_Texture* texture) { return texture ? texture->name().str() : "none"; }

void describeMaterial(const CN_Material& material, FactSink& facts) {
    std::vector<std::string> frames;
    for (const CN_Texture* const texture : material.getDiffuseTextures())
        frames.push_back(textureName(texture));
    facts.word("textures", fmt::format("{}", fmt::join(frames, ", ")));
    facts.word("light texture", textureName(material.getLightTexture()));
    facts.word("detail texture", textureName(material.getDetailTexture()));
    facts.word("reflection texture", textureName(material.getReflectionTexture()));
    facts.word("gloss texture", textureName(material.getGlossTexture()));
    for (const bool diffuse : {true, false}) {
        double u = 0, v = 0;
        material.getTiles(u, v, diffuse);
        facts.numbers(diffuse ? "scale" : "light scale", {u, v});
    }
    facts.numbers("detail scale", {material.getDetailScale()});
    facts.flag("double-sided", material.isDoubleSided());
    facts.word("alpha test value", std::to_string(material.getAlphaTestValue()));
    facts.flag("adult content", material.getAdultContent());
    facts.word("blend type", std::to_string(material.getBlendType()));
    facts.flag("edge blend", material.getEdgeBlend());
    facts.flag("uses reflection", material.getUsesReflection());
    facts.flag("uses gloss", material.getUsesGloss());
    facts.word("visible frame", std::to_string(material.getVisibleFrame()));
    facts.word("frame rate", std::to_string(material.getFramerate()));
}

std::vector<NamedThing> categoriesOf(const CN_Document& document) {
    std::vector<NamedThing> things;
    for (const CN_MaterialsCategory& category : document.getMaterials().getCategories()) {
        NamedThing thing{fmt::format("category {}", category.name().view()), {}};
        thing.facts.word("", category.name().view());
        things.push_back(std::move(thing));
    }
    return things;
}

std::vector<NamedThing> materialsOf(const CN_Document& document) {
    std::vector<NamedThing> things;
    for (const CN_MaterialsCategory& category : document.getMaterials().getCategories())
        for (const CN_Material* const material : category.getMaterials()) {
            NamedThing thing{fmt::format("material {}/{}", category.name().view(), material->name().view()), {}};
            describeMaterial(*material, thing.facts);
            things.push_back(std::move(thing));
        }
    return things;
}

std::vector<NamedThing> lightmapsOf(const CN_Document& document) {
    std::vector<NamedThing> things;
    const CN_LightmapPoolInterface& pool = *document.getLightmaps();
    for (const unsigned long id : pool.getLightmapIDs()) {
        const CN_Lightmap& lightmap = *pool.getLightmap(id);
        NamedThing thing{fmt::format("lightmap {}", id), {}};
        thing.facts.bytes(
            "", fmt::format("{} x {}", lightmap.width(), lightmap.height()),
            {reinterpret_cast<const char*>(lightmap.getPixels()), lightmap.getPixelCount() * sizeof(II::ColorF)});
        thing.facts.flag("final colors", lightmap.isPassThrough());
        things.push_back(std::move(thing));
    }
    return things;
}

/// The section of a save of the document that holds the byte at the offset.
std::string sectionAt(CN_Document& document, std::size_t offset) {
    std::size_t end = 0;
    const auto reaches = [&](auto&& write) { return offset < (end += written(write).size()); };
    if (reaches([&](F_MemoryFile& file) { document.saveDocumentVersion(file); }))
        return "version";
    if (reaches([&](F_MemoryFile& file) { file << document.getTextures(); }))
        return "textures";
    if (reaches([&](F_MemoryFile& file) { file << document.getMaterials(); }))
        return "materials";
    if (reaches([&](F_MemoryFile& file) { document.accessLightmaps()->save(file); }))
        return "lightmaps";
    if (reaches([&](F_MemoryFile& file) { document.getPreferences().saveDocumentPreferences(file); }))
        return "preferences";
    if (reaches([&](F_MemoryFile& file) { document.accessLevel()->save(file); }))
        return "entities";
    if (reaches([&](F_MemoryFile& file) { document.getSelection()->save(file, &document); }))
        return "selection";
    return reaches([&](F_MemoryFile& file) { document.getCNCamera()->save(file); }) ? "camera" : "group names";
}

} // namespace

void compareDocuments(const CN_Document& first, const CN_Document& second, ChangeList& changes) {
    compareSettings(first, second, changes);
    changes.compareThings("order of textures", texturesOf(first), texturesOf(second));
    changes.compareThings("order of categories", categoriesOf(first), categoriesOf(second));
    changes.compareThings("order of materials", materialsOf(first), materialsOf(second));
    changes.compareThings("order of lightmaps", lightmapsOf(first), lightmapsOf(second));
}

void compareBytes(CN_Document& first, CN_Document& second, ChangeList& changes) {
    const auto save = [](CN_Document& document) {
        return written([&document](F_MemoryFile& file) { document.save(file); });
    };
    const std::string before = save(first), after = save(second);
    if (before == after)
        return;
    const auto differs = std::mismatch(before.begin(), before.end(), after.begin(), after.end()).first;
    const auto at = static_cast<std::size_t>(differs - before.begin());
    const auto tell = [at](CN_Document& document) {
        return fmt::format("differs at offset {}, section {}", at, sectionAt(document, at));
    };
    changes.addChanged("bytes", tell(first), tell(second));
}

} // namespace cairn::host
