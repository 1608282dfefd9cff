// SPDX-License-Identifier: BSD-2-Clause
// Functions whose arguments must stay in registers whatever the compiler thinks of their size.
#pragma once

#if defined(__GNUC__)
#define TVK_INLINE inline __attribute__((always_inline))
#else
#define TVK_INLINE inline
#endif
