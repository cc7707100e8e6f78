// Qor: the typed-object runtime of the agent platform. Stands on Nuvio.
//
//   PtrInterface.h   counted objects: the count word with its flags, Ptr, make()
//   Type.h           type descriptors and modules: what fwkType() answers
//   Pool.h           pool allocator, allocation tracking per type, the census
//   Optional.h       a value that may be absent
//   Hash.h           the seeded hash
//   HashMap2018.h    the keyed collection: hash-ordered, with resumable iterators
//   Text.h           text forms of values: printing, parsing, typed exceptions
//   Exceptions.h     the runtime's typed exceptions
//   Value.h          a value whose type is known only while the program runs
//   Attribute.h      the tables of attributes that types register
//   GenericIf.h      read, write, walk and invoke any object's attributes by number
//   Entity.h         objects that publish their changes, and their collections
#pragma once

#include "platform/Nuvio.h"
#include "platform/Qor/Attribute.h"
#include "platform/Qor/Entity.h"
#include "platform/Qor/Exceptions.h"
#include "platform/Qor/GenericIf.h"
#include "platform/Qor/Hash.h"
#include "platform/Qor/HashMap2018.h"
#include "platform/Qor/Optional.h"
#include "platform/Qor/Pool.h"
#include "platform/Qor/PtrInterface.h"
#include "platform/Qor/Text.h"
#include "platform/Qor/Type.h"
#include "platform/Qor/Value.h"
