// QorNuvio: the adapter between the object runtime and the notification library.
//
// Subscribing to an object of the runtime, older notifiee objects as observers of a publisher, and
// the base of a machine's state objects.
#pragma once

#include "platform/QorNuvio/LegacyNotifiee.h"
#include "platform/QorNuvio/StateObject.h"
#include "platform/QorNuvio/Subscribe.h"
