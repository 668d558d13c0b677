#include "cairn/materials/material_wrapper.h"

#include "cairn/foundation/memory_file.h"

namespace cairn {

void CN_MaterialWrapper::construct() {
    destruct();
    m_constructed = true;
}

void CN_MaterialWrapper::destruct() {
    m_list = nullptr;
    m_constructed = false;
}

void CN_MaterialWrapper::save(F_MemoryFile& file) const { file.writeCount(0); }

void CN_MaterialWrapper::load(F_MemoryFile& file) {
    unsigned int count = 0;
    file >> count;
    if (count > 0)
        file.fail(
            formatText("The level has %u categories of materials; materials are not supported by this version", count));
}

} // namespace cairn
