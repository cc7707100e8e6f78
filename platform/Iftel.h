// Iftel: identifiers of interfaces.
//
//   IntfId.h      the identifier, its native texts, its predicates
//   NameTable.h   names of a host's own ("bond0.100", "swp3") and the identifiers given to them
#pragma once

#include "platform/Iftel/IntfId.h"
#include "platform/Iftel/NameTable.h"
