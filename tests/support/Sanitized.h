// Whether the program is built to look for faults, which makes some of its work many times slower than the
// rest. The compilers say it in different words.
#pragma once

#if defined(__SANITIZE_ADDRESS__)
#define MARVO_ADDRESS_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define MARVO_ADDRESS_SANITIZED 1
#endif
#endif
#ifndef MARVO_ADDRESS_SANITIZED
#define MARVO_ADDRESS_SANITIZED 0
#endif

#if MARVO_ADDRESS_SANITIZED || defined(__SANITIZE_THREAD__)
#define MARVO_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer) || __has_feature(memory_sanitizer)
#define MARVO_SANITIZED 1
#endif
#endif
#ifndef MARVO_SANITIZED
#define MARVO_SANITIZED 0
#endif
