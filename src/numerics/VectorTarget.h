#pragma once

/// Put in front of a plain loop's function: it is compiled for the baseline instruction set and for a wider one, and
/// the loader takes the one that the processor has. Contraction is off and no sum is reordered, so both give the same
/// bits. The sanitizers' runtimes aren't up yet when the loader chooses, so their builds have the baseline only.
#if defined(__x86_64__) && defined(__ELF__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) && \
    !defined(__clang__)
#define VORN_VECTOR_CLONES __attribute__((target_clones("avx2", "default")))
#else
#define VORN_VECTOR_CLONES
#endif
