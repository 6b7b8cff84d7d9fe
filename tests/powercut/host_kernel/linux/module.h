/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
#ifndef POWERCUT_LINUX_MODULE_H
#define POWERCUT_LINUX_MODULE_H

#define __init
#define __exit
#define EXPORT_SYMBOL(function)
#define MODULE_LICENSE(text)
#define MODULE_AUTHOR(text)
#define MODULE_DESCRIPTION(text)

/* Nobody loads the module on the host: its service needs no preparation. */
#define module_init(function) int (*const host_module_init)(void) = function
#define module_exit(function) void (*const host_module_exit)(void) = function

#endif
