#include "platform/runtime/Ref.h"

namespace Vormel {

Counted::~Counted() = default;

void Counted::onLastRelease() const noexcept
{
   delete this;
}

} // namespace Vormel
