// Forced inlining, for the few hot paths whose speed depends on it.
#ifndef KTSIP_KT_INLINE_H
#define KTSIP_KT_INLINE_H

/// Marks a function inline and asks the compiler to inline every call of it, whatever its
/// size estimate (the parse and allocation fast paths, where a call costs more than the body).
#define KT_ALWAYS_INLINE __attribute__((always_inline)) inline

#endif
