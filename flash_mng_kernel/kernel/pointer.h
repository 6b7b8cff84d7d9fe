/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * Pointers that Linux returns: an address, NULL, or an error number in the topmost addresses. pointer.hpp tells them apart.
 */
#ifndef FLASH_MNG_KERNEL_POINTER_H
#define FLASH_MNG_KERNEL_POINTER_H

#define LINUX_MAX_ERRNO 4095

#endif
