#include "platform/Nuvio/Ptr.h"

namespace Nuvio {

bool ThreadControl::tsp_ = false;

} // namespace Nuvio
