// Abseil's library as distributions build it has assertions on, and with them its one table
// function that is not a header's alone: there it puts a key at a random place of its group, so
// that no program can rely on places. Which of a program's insertions call that copy is up to the
// inliner; they take half as long again. A release build has its own copy of the function, which
// all of them call.
#include <absl/base/config.h>
#include <absl/container/flat_hash_map.h>

#include <cstddef>

#if defined(NDEBUG) && ABSL_LTS_RELEASE_VERSION == 20220623
template absl::container_internal::FindInfo
absl::container_internal::find_first_non_full<void>(absl::container_internal::ctrl_t const *,
                                                    std::size_t, std::size_t);
#endif
