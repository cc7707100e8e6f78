// The mark of a type or function that hosts of the shared object may use. Everything is compiled
// with hidden visibility, so what does not carry the mark stays inside.
#pragma once

#define NUVIO_EXPORT __attribute__((visibility("default")))
