// A document's textures: look-ups by name among n of them, and what loading the list costs beside the decodes that it
// needs.
#include "bench/support/report.h"
#include "cairn/foundation/memory_file.h"
#include "cairn/materials/texture_list.h"

#include <fmt/format.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

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

} // namespace

int main(int argc, char** argv) {
    cairn::bench::Report report("material_lists");
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
    }
    for (const char* scene : {"get, 1,000 names", "add, make unique and remove 1,000"})
        report.limitGrowth(scene, "CN_TextureList", 0.15); // caches grow cold, nothing more
    return report.run(argc, argv);
}
