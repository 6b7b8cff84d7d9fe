/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * flash_lab: what the tests on the board need inside the kernel. Parts: MTD devices (mtd_lab.c, store.c), calls of flash_mng's
 * functions (caller.c), a flash driver (driver.c), the observer of flash_mng's own calls (observer.c) with its trace (trace.c), faults
 * (fault.c), the account of what flash_mng holds (holdings.c, platform.c) and of its functions that ran (watch.c).
 *
 * Lock order: the mutexes of mtd_lab.c, driver.c and observer.c are taken in process context only. trace.c, fault.c, holdings.c and
 * platform.c each have one raw spinlock, since flash_mng may call with locks of its own held, spinlocks among them; none of these is
 * held together with another.
 */
#ifndef FLASH_LAB_H
#define FLASH_LAB_H

#include <linux/kernel.h>
#include <linux/types.h>
#include <linux/xarray.h>

#include "lab_abi.h"

struct flash_driver_ops;
struct module;

#undef pr_fmt
#define pr_fmt(fmt) "flash_lab: " fmt

/* symbols.c: addresses of symbols that are not exported. */
int lab_symbols_init(void);
/* lab_symbol() - address of a kernel symbol, or of "module:name"; 0 when there is none. Slow: it walks all symbols of the kernel. */
unsigned long lab_symbol(const char *name);
/* lab_know_symbols() - of a module that was linked and does not run yet, instead of those known before. Return: 0 or -ENOMEM. */
int lab_know_symbols(const struct module *module);
void lab_forget_symbols(void);
/* lab_module_symbol() - address of a function or global of that module, while it is being loaded or referenced; 0 when there is none. */
unsigned long lab_module_symbol(const char *name);

/* mtd_lab.c: commands on MTD devices. */
int lab_mtd_init(void);
long lab_mtd_add(struct lab_mtd_add __user *argument);
long lab_mtd_remove(s32 __user *argument);
long lab_mtd_remove_all(void);
long lab_mtd_bytes(unsigned int command, struct lab_mtd_bytes __user *argument);
long lab_mtd_state(struct lab_mtd_state __user *argument);
long lab_mtd_fail(const struct lab_mtd_failure __user *argument);

/* store.c: bytes of a device of any size; what was never written reads as 0xFF. The caller serialises. */
struct lab_store {
	struct xarray pages;
};

void lab_store_init(struct lab_store *store);
void lab_store_free(struct lab_store *store);
void lab_store_read(struct lab_store *store, u64 offset, void *to, size_t length);
int lab_store_write(struct lab_store *store, u64 offset, const void *from, size_t length);
void lab_store_blank(struct lab_store *store, u64 offset, u64 length);
bool lab_store_is_blank(struct lab_store *store, u64 offset, size_t length);
/* Whether @from only clears bits of what is stored. */
bool lab_store_only_clears(struct lab_store *store, u64 offset, const u8 *from, size_t length);

/* caller.c: calls into flash_mng. */
long lab_call(struct lab_call __user *argument);
long lab_global(struct lab_global __user *argument);

/*
 * driver.c: a flash driver for flash_mng. flash_mng reaches its functions through pointers, where the observer does not see them, so they
 * report their calls themselves.
 */
/* lab_driver_table() - the driver with these functions, LAB_DRIVER_...; NULL for a wrong number. */
const struct flash_driver_ops *lab_driver_table(u64 functions);
/* lab_driver_prepare() - for a flash_mng that is being loaded: the parts of earlier ones are forgotten. */
int lab_driver_prepare(void);
void lab_driver_exit(void);
/* Registers a driver with flash_mng, or unregisters the one that it has; from a call that flash_mng makes. */
void lab_driver_comes(u64 functions);
void lab_driver_goes(void);
long lab_driver_parts(struct lab_parts __user *argument);

/* observer.c: stands between flash_mng and the functions that it calls. */
int lab_observer_init(void);
void lab_observer_exit(void);
/* lab_observe() - report a call of @name, of calls.def; true with its forced @result when it is to fail. */
bool lab_observe(const char *name, const u64 *arguments, s64 *result);
/* lab_function() - address of a function of calls.def; 0 until flash_mng has been loaded once. */
unsigned long lab_function(const char *name);
/* lab_hold_flash_mng() - flash_mng, referenced, or NULL when it is not loaded; released with module_put(). */
struct module *lab_hold_flash_mng(void);
long lab_status(struct lab_status __user *argument);

/* lab_observe_too() - for a function of flash_mng that calls.def may not have: see whether it runs. -ENOSPC when there are too many. */
int lab_observe_too(const char *name);
/* lab_ran() - whether an observed function ran: flash_mng called it and was let through, or it was flash_mng's init or exit. */
bool lab_ran(const char *name);

/* watch.c: which functions of flash_mng ran. */
int lab_watch_init(void);
void lab_watch_exit(void);

/* trace.c: the calls seen, and the end of the last load. arguments are the argument registers. */
int lab_trace_init(void);
void lab_trace_exit(void);
void lab_trace_call(const char *name, const char *signature, const u64 *arguments);
void lab_trace_load_end(const u64 *arguments);
long lab_trace_read(struct lab_trace __user *argument);
long lab_trace_load_end_read(struct lab_load_end __user *argument);
void lab_trace_load_end_clear(void);
void lab_trace_clear(void);

/* fault.c: which call is to fail. */
long lab_fault_arm(struct lab_fault __user *argument);
void lab_fault_clear(void);
u32 lab_faults_hit(void);
/* Index of a function of calls.def, or -ENOENT. */
int lab_function_index(const char *name);
/* lab_fault_take() - count a call of @function; true with its forced @result, and its content stored, when it is to fail. */
bool lab_fault_take(int function, const u64 *arguments, s64 *result);
/* What is to happen before a call. */
struct lab_interruption {
	enum lab_fault_kind kind;
	u64 table; /* of the driver that comes */
	u32 clearings; /* of the faults before it: it waits for the next one */
};

/* lab_interruption_take() - count a call of @function; true with what is to happen before it. */
bool lab_interruption_take(int function, struct lab_interruption *taken);
/* lab_interrupt() - let it happen; may wait until the faults are cleared. */
void lab_interrupt(const struct lab_interruption *taken);
/* lab_fault_take_lie() - count an entry list; the kind of lie to tell about it, LAB_FAIL for none. */
enum lab_fault_kind lab_fault_take_lie(u32 *count);

/* holdings.c: what flash_mng has taken and not given back.  */
enum lab_holding {
	LAB_HEAP,
	LAB_VIRTUAL,
	LAB_MTD_REFERENCE,
	LAB_OPEN_FILE,
	LAB_LOCK,
	LAB_HOLDINGS
};

void lab_hold(enum lab_holding kind, unsigned long address);
void lab_release(enum lab_holding kind, unsigned long address);
long lab_held_give_back(void);
long lab_held(struct lab_held __user *argument);

/* platform.c: what the platform keeps for flash_mng. */
/* lab_platform_skipped() - a call that was not made. */
void lab_platform_skipped(const char *name, const u64 *arguments);
void lab_platform_give_back(void);

#endif
