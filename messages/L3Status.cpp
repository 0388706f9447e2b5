#include "messages/L3Status.h"

namespace Strata {

VORMEL_ENTITY_TYPE( L3Status, STRATA_L3_STATUS_ATTRIBUTES )

} // namespace Strata
