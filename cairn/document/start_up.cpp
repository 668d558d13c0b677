#include "cairn/document/document.h"
#include "cairn/entities/radiosity_light.h"
#include "cairn/fsm/change_manager.h"

// What is made when the library is loaded, in this order, and unmade in reverse when it goes. Only within one file is
// there an order: no other file has an object at its own scope that is made in the start-up or that needs one of these.

namespace cairn {

CN_RLightProperties CN_LevelEntityRadiosityLight::m_sRDefaultLightProperties;

const CString g_strSentinel = "CAIRN1.1";

std::unordered_map<unsigned int, CN_LevelEntity*> CN_FSMChangeManager::g_mapLevelEntityDeSerialisationMap;

} // namespace cairn
