// Nuvio: the support library of the agent platform. It stands on nothing but {fmt}.
//
//   Export.h         the mark of what a shared object shows to its hosts
//   Assert.h         assertions: our own bugs, reported and never survived
//   Ptr.h            intrusive counted pointer, shared by this library and the object runtime
//   String.h         immutable string, cheap to copy
//   Publisher.h      change notices: publishers, subscribers, what may happen during a delivery
//   DebugHandler.h   trace lines: named handles, level masks, sinks
//   HTCnt.h          diagnostics counters of the hash tables
#pragma once

#include "platform/Nuvio/Assert.h"
#include "platform/Nuvio/DebugHandler.h"
#include "platform/Nuvio/Export.h"
#include "platform/Nuvio/HTCnt.h"
#include "platform/Nuvio/Ptr.h"
#include "platform/Nuvio/Publisher.h"
#include "platform/Nuvio/String.h"
