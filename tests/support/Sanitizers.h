#pragma once
// What limits on memory and time tell in this build.

// Whether this is a build with a sanitizer, which takes memory and addresses of its own.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool kSanitized = true;
#elif defined(__has_feature)
inline constexpr bool kSanitized = __has_feature(address_sanitizer) || __has_feature(thread_sanitizer);
#else
inline constexpr bool kSanitized = false;
#endif

// Whether pictures of hundreds of megabytes take minutes in it.
#ifdef NDEBUG
inline constexpr bool kSlowBuild = kSanitized;
#else
inline constexpr bool kSlowBuild = true;
#endif
