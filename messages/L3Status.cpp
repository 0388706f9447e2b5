#include "messages/L3Status.h"

namespace Strata {

VORMEL_ENTITY_TYPE( L3Status, L3_STATUS_ATTRIBUTES )

} // namespace Strata
