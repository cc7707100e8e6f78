// How this build of the tests was made: what runs many times slower in some builds is smaller
// there.
#pragma once

namespace TestSupport {

#if defined(__SANITIZE_ADDRESS__)
inline constexpr bool addressSanitized = true;
#elif defined(__has_feature)
inline constexpr bool addressSanitized = __has_feature(address_sanitizer);
#else
inline constexpr bool addressSanitized = false;
#endif

#if defined(__SANITIZE_THREAD__)
inline constexpr bool threadSanitized = true;
#elif defined(__has_feature)
inline constexpr bool threadSanitized = __has_feature(thread_sanitizer);
#else
inline constexpr bool threadSanitized = false;
#endif

#if defined(NDEBUG)
inline constexpr bool optimised = !addressSanitized && !threadSanitized;
#else
inline constexpr bool optimised = false;
#endif

} // namespace TestSupport
