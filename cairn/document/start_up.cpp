#include "cairn/document/document.h"
#include "cairn/entities/radiosity_light.h"
#include "cairn/fsm/change_manager.h"

// What is made when the library is loaded, in this order, and unmade in reverse when it goes. Only within one file is
// there an order: what other files make at their own scope (the content library's pool of names)
// needs none of these. The foundation and the mathematics have nothing to initialise.

namespace cairn {

CN_RLightProperties CN_LevelEntityRadiosityLight::m_sRDefaultLightProperties;

const CString g_strSentinel = "CAIRN1.1";

std::unordered_map<unsigned int, CN_LevelEntity*> CN_FSMChangeManager::g_mapLevelEntityDeSerialisationMap;

} // namespace cairn
