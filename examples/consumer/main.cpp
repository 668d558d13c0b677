// The smallest host: links the installed library, makes a document, saves it, and reads it back.

#include <cairn/cairn.h>

#include <cstdio>

#if __has_include(<cairn/document/document.h>)

namespace {

void saveAndLoad() {
    using namespace cairn;

    CN_Document document;
    document.createCairnLevelEntities();

    F_MemoryFile file(0);
    document.save(file);
    file.toRead();

    CN_Document loaded;
    loaded.load(file);
    std::printf("read back: %s, %zu bytes\n", loaded.getLevel()->getName().GetString(), file.getSize());
}

} // namespace

#endif

int main() {
    std::printf("cairn %s\n", cairn::version());
#if __has_include(<cairn/document/document.h>)
    try {
        saveAndLoad();
    } catch (cairn::F_Exception* e) {
        cairn::F_ExceptionGuard guard(e);
        std::fprintf(stderr, "consumer: %s\n", e->getErrorMessage().c_str());
        return 1;
    }
#endif
    return 0;
}
