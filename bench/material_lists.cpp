// A document's textures: look-ups by name among n of them, and what loading them costs beside the decodes that it needs,
// alone and in a document with a material for each.
#include "bench/support/report.h"
#include "cairn/document/document.h"
#include "cairn/foundation/memory_file.h"
#include "cairn/materials/material.h"
#include "cairn/materials/texture_list.h"
#include "tests/support/image_files.h"

#include <fmt/format.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

#define STBI_WRITE_NO_STDIO
#define STB_IMAGE_WRITE_STATIC
#define STB_IMAGE_WRITE_IMPLEMENTATION
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-function"
#include <stb_image_write.h>
#pragma GCC diagnostic pop

namespace {

using cairn::CN_Texture;
using cairn::CN_TextureList;

std::string nameOf(int i) { return fmt::format("textures/walls/Brick_{:05}.tga", i); }

std::unique_ptr<CN_TextureList> makeList(int n) {
    auto list = std::make_unique<CN_TextureList>();
    for (int i = 0; i < n; ++i)
        list->addNew()->setName(nameOf(i).c_str());
    return list;
}

/// Names to ask for, every tenth of none, each letter in a case of its own.
std::vector<std::string> makeQuestions(int n) {
    constexpr int QUESTIONS = 1000;
    std::mt19937 random(5);
    std::vector<std::string> questions;
    for (int i = 0; i < QUESTIONS; ++i) {
        std::string name = nameOf(static_cast<int>(random() % static_cast<unsigned>(n)));
        if (i % 10 == 0)
            name += 'x';
        for (char& c : name)
            if (c >= 'a' && c <= 'z' && random() % 2)
                c = static_cast<char>(c - 'a' + 'A');
        questions.push_back(name);
    }
    return questions;
}

/// A noise of 64 x 64 pixels with 32 bits, run-length coded or plain: the two ends of what a decode costs.
std::vector<unsigned char> makeTga(std::mt19937& random, bool plain) {
    constexpr int SIDE = 64;
    std::vector<unsigned char> file(18);
    file[2] = plain ? 2 : 10;
    file[12] = file[14] = SIDE;
    file[16] = 32;
    for (int i = 0; i < SIDE * SIDE; ++i) {
        if (!plain && i % 2 == 0)
            file.push_back(0x81); // two pixels of the colour that follows
        if (plain || i % 2 == 0)
            for (int channel = 0; channel < 4; ++channel)
                file.push_back(static_cast<unsigned char>(random()));
    }
    return file;
}

/// A stored list of n textures, and the sources on their own.
struct StoredList {
    std::vector<std::vector<unsigned char>> sources;
    std::vector<unsigned char> bytes;

    StoredList(int n, bool plain) {
        std::mt19937 random(7);
        cairn::F_MemoryFile file;
        file.createChunk(0, cairn::CAIRN_TEXTURE_LIST_VERSION);
        file << static_cast<unsigned int>(n);
        for (int i = 0; i < n; ++i) {
            sources.push_back(makeTga(random, plain));
            file.createChunk(0, cairn::CAIRN_TEXTURE_VERSION);
            file << 0u << static_cast<int>(sources.back().size()) << nameOf(i);
            file.write(sources.back().data(), static_cast<int>(sources.back().size()));
            file.closeChunk();
        }
        file.closeChunk();
        const auto* begin = static_cast<const unsigned char*>(file.getAddress());
        bytes.assign(begin, begin + file.getSize());
    }
};

double decodeAll(const StoredList& stored) {
    double texels = 0;
    for (const auto& source : stored.sources) {
        cairn::I_Image image;
        image.construct(cairn::I_Image::TGA, reinterpret_cast<const char*>(source.data()),
                        static_cast<int>(source.size()));
        texels += image.getWidth() * image.getHeight();
    }
    return texels;
}

using Bytes = std::vector<unsigned char>;

/// Slopes with a grain, as textures have.
Bytes makePixels(int width, int height, std::mt19937& random) {
    Bytes pixels;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            for (int channel = 0; channel < 3; ++channel)
                pixels.push_back(
                    static_cast<unsigned char>((x + y * (channel + 1)) / 8 + static_cast<int>(random() % 16)));
    return pixels;
}

Bytes makeJpeg(int width, int height, std::mt19937& random) {
    Bytes file;
    const auto append = [](void* bytes, void* data, int size) {
        const auto* first = static_cast<const unsigned char*>(data);
        static_cast<Bytes*>(bytes)->insert(static_cast<Bytes*>(bytes)->end(), first, first + size);
    };
    stbi_write_jpg_to_func(append, &file, width, height, 3, makePixels(width, height, random).data(), 85);
    return file;
}

/// A stored document of n textures and a material of each: nine JPEG of 320 x 240 to one TGA of 512 x 512 and 24 bits.
struct StoredDocument {
    static constexpr int KINDS = 10;

    std::vector<Bytes> sources; ///< those of the first `KINDS` textures, and of the others in turn
    Bytes bytes;
    int count;

    explicit StoredDocument(int n) : count(n) {
        std::mt19937 random(11);
        for (int i = 0; i < KINDS; ++i)
            sources.push_back(i == 0 ? cairn::test::makeTga(512, 512, makePixels(512, 512, random))
                                     : makeJpeg(320, 240, random));
        cairn::CN_Document document;
        document.createCairnLevelEntities();
        cairn::CN_TextureList& textures = document.accessTextures();
        auto* const category = document.accessMaterials().addCategory(&textures, "Walls");
        for (int i = 0; i < n; ++i) {
            CN_Texture* const texture = textures.addNew();
            texture->setName(nameOf(i).c_str());
            cairn::test::setSource(*texture, sourceOf(i), formatOf(i));
            category->add(0, nameOf(i).c_str(), nullptr);
        }
        cairn::F_MemoryFile file;
        document.save(file);
        const auto* begin = static_cast<const unsigned char*>(file.getAddress());
        bytes.assign(begin, begin + file.getSize());
    }

    const Bytes& sourceOf(int i) const { return sources[static_cast<std::size_t>(i % KINDS)]; }
    static cairn::I_Image::Format formatOf(int i) {
        return i % KINDS == 0 ? cairn::I_Image::TGA : cairn::I_Image::JPEG;
    }
};

/// Each source twice, for the texture and for the icons of its material.
double decodeTwice(const StoredDocument& stored) {
    double texels = 0;
    for (int i = 0; i < 2 * stored.count; ++i) {
        const Bytes& source = stored.sourceOf(i);
        cairn::I_Image image;
        image.construct(StoredDocument::formatOf(i), reinterpret_cast<const char*>(source.data()),
                        static_cast<int>(source.size()));
        texels += image.getWidth() * image.getHeight();
    }
    return texels / 2;
}

double loadDocument(const StoredDocument& stored) {
    cairn::CN_Document document;
    cairn::F_MemoryFile file(stored.bytes.data(), stored.bytes.size(), false);
    document.load(file);
    return document.accessMaterials().numMaterials() == stored.count
               ? static_cast<double>(document.getTextures().totalTexels())
               : 0;
}

} // namespace

static void measure(cairn::bench::Report& report) {
    cairn::bench::keepFreedMemory();
    for (const int n : cairn::bench::sizes({100, 1000, 10000, 100000})) {
        const std::shared_ptr<CN_TextureList> list = makeList(n);
        const auto questions = std::make_shared<std::vector<std::string>>(makeQuestions(n));
        report.add("get, 1,000 names", "CN_TextureList", n, [list, questions] {
            int found = 0;
            for (const std::string& name : *questions)
                found += list->get(name.c_str()) != nullptr;
            return found;
        });
        report.add("add, make unique and remove 1,000", "CN_TextureList", n, [list, n] {
            for (int i = 0; i < 1000; ++i) {
                CN_Texture* const texture = list->addNew();
                texture->setName(nameOf(i % n).c_str());
                list->setUniqueName(texture);
                list->remove(texture);
            }
            return list->list().count() / n;
        });
    }
    for (const bool plain : {true, false}) {
        const auto stored = std::make_shared<StoredList>(1000, plain);
        const std::string scene = plain ? "load, plain pixels" : "load, run-length coded";
        report.add(scene, "decodes", 1000, [stored] { return decodeAll(*stored); });
        report.add(scene, "CN_TextureList", 1000, [stored] {
            CN_TextureList list;
            cairn::F_MemoryFile file(stored->bytes.data(), stored->bytes.size(), false);
            file >> list;
            return list.totalTexels();
        });
        report.limitRatio(scene, "CN_TextureList", 1.3);
        report.reason(
            scene, "CN_TextureList",
            "a plain image of 16 kB is decoded by a copy within the caches; the list takes the checksum, and keeps "
            "the file and the image of each, 32 MB that lie in memory");
    }
    const std::string whole = "load a document, JPEG 320 x 240 and TGA 512 x 512";
    for (const int n : cairn::bench::sizes({100, 1000}, 100)) {
        const auto stored = std::make_shared<StoredDocument>(n);
        report.add(whole, "decodes, each twice", n, [stored] { return decodeTwice(*stored); });
        report.add(whole, "CN_Document", n, [stored] { return loadDocument(*stored); });
    }
    report.limitRatio(whole, "CN_Document", 1.3);
    for (const char* each : {"get, 1,000 names", "add, make unique and remove 1,000"})
        report.limitGrowth(each, "CN_TextureList", 0.15); // caches grow cold, nothing more
}

static const cairn::bench::Scene
    SCENE("material_lists",
          "Textures of a document: look-ups among n, and loading them beside the decodes that it needs.", measure);
