#pragma once

// Rules lie scattered over the heap in reading order while views and the
// writer visit them group by group. Requesting a rule a few steps ahead lets
// those cache misses overlap. The compiler drops plain prefetch hints in some
// of these loops, so x86 gets the instruction itself.
inline void prefetchRuleData(const void *address)
{
#if defined(__x86_64__) || defined(__i386__)
    asm volatile("prefetcht0 %0" : : "m"(*static_cast<const char *>(address)));
#else
    __builtin_prefetch(address);
#endif
}
