// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Linux's mutexes, semaphores and spinlocks. They really block; their state is kept beside them, keyed by the address of their storage,
// and the storage is filled with a pattern that must still be there when the lock is used.
//
// Lock order: the module never holds two locks at once.
#include "kernel/lock.h"

#include <algorithm>
#include <array>
#include <map>
#include <thread>

#include "kernel/spinlock.h"
#include "simulation.hpp"

namespace simulation {

namespace {

constexpr unsigned char pattern = 0x6c;

struct lock_state {
	const char *kind;
	const char *name;
	std::size_t size;
	int initial; // how many may hold it at once
	int free;
	std::thread::id owner;
};

std::map<std::uintptr_t, lock_state> g_locks;
std::condition_variable g_released;

void init(void *storage, std::size_t size, const char *kind, const char *name, int count)
{
	state_guard guard;
	const auto address = reinterpret_cast<std::uintptr_t>(storage);
	const auto known = g_locks.find(address);

	if (known != g_locks.end() && known->second.free != known->second.initial)
		misuse("%s %p is initialised while it is held", kind, storage);
	std::fill_n(static_cast<unsigned char *>(storage), size, pattern);
	g_locks[address] = {kind, name, size, count, count, {}};
}

// A lock that is defined free needs no initialisation.
void know_static(const char *kind, void *storage, std::size_t size)
{
	state_guard guard;
	const auto address = reinterpret_cast<std::uintptr_t>(storage);

	if (g_locks.contains(address))
		return;
	std::fill_n(static_cast<unsigned char *>(storage), size, pattern);
	g_locks[address] = {kind, kind, size, 1, 1, {}};
}

lock_state &state_of_locked(const char *function, const void *storage)
{
	const auto found = g_locks.find(reinterpret_cast<std::uintptr_t>(storage));

	if (found == g_locks.end())
		misuse("%s(%p): the lock was never initialised, or its memory was freed", function, storage);
	const auto *bytes = static_cast<const unsigned char *>(storage);
	if (!std::all_of(bytes, bytes + found->second.size, [](unsigned char byte) { return byte == pattern; }))
		misuse("%s(%p): the %s's storage was overwritten", function, storage, found->second.kind);
	return found->second;
}

void take(const char *function, const void *storage)
{
	std::unique_lock held(state_mutex());

	if (current_task().held_lock == storage)
		misuse("%s(%p): the calling thread holds this lock already and would wait for itself", function, storage);
	if (current_task().held_lock)
		misuse("%s(%p): the calling thread holds another lock (%p); no two locks are ever held together", function, storage,
		       current_task().held_lock);
	g_released.wait(held, [&] { return state_of_locked(function, storage).free > 0; });
	auto &lock = state_of_locked(function, storage);
	--lock.free;
	lock.owner = std::this_thread::get_id();
	current_task().held_lock = storage;
}

void release(const char *function, const void *storage)
{
	{
		state_guard guard;
		auto &lock = state_of_locked(function, storage);

		if (lock.free == lock.initial)
			misuse("%s(%p): nobody holds the %s", function, storage, lock.kind);
		if (current_task().held_lock != storage)
			misuse("%s(%p): the calling thread does not hold the %s", function, storage, lock.kind);
		++lock.free;
		current_task().held_lock = nullptr;
	}
	g_released.notify_all();
}

} // namespace

void forget_locks_locked(std::uintptr_t start, std::size_t size)
{
	auto lock = g_locks.lower_bound(start);

	while (lock != g_locks.end() && lock->first - start < size) {
		if (lock->second.free != lock->second.initial)
			misuse("memory at %#lx is freed with a held %s in it", static_cast<unsigned long>(start), lock->second.kind);
		lock = g_locks.erase(lock);
	}
}

long locks_held()
{
	state_guard guard;
	long count = 0;

	for (const auto &[address, lock] : g_locks)
		count += lock.initial - lock.free;
	return count;
}

bool lock_is_free(const void *storage)
{
	state_guard guard;
	const auto found = g_locks.find(reinterpret_cast<std::uintptr_t>(storage));
	return found == g_locks.end() || found->second.free > 0;
}

void reset_locks()
{
	state_guard guard;

	g_locks.clear();
	current_task().held_lock = nullptr;
	current_task().spinning = false;
}

void must_not_sleep_here(const char *function)
{
	if (current_task().spinning)
		misuse("%s() may sleep and is called with a spinlock held", function);
}

} // namespace simulation

using namespace simulation;

// The one spinlock of the module, defined unlocked as spinlock.c does.
struct spinlock {
	unsigned char storage[4];
};

constinit struct spinlock g_spi_flash_info_list_lock = {};

void linux_spin_lock(struct spinlock *lock)
{
	if (seen(call::linux_spin_lock, {lock}))
		return;
	know_static("spinlock", lock, sizeof(*lock));
	take("linux_spin_lock", lock);
	current_task().spinning = true;
}

void linux_spin_unlock(struct spinlock *lock)
{
	if (seen(call::linux_spin_unlock, {lock}))
		return;
	current_task().spinning = false;
	release("linux_spin_unlock", lock);
}

void linux_mutex_init(struct mutex *lock, const char *name)
{
	if (seen(call::linux_mutex_init, {lock, name}))
		return;
	init(lock, sizeof(*lock), "mutex", name, 1);
}

void linux_mutex_lock(struct mutex *lock)
{
	if (seen(call::linux_mutex_lock, {lock}))
		return;
	take("linux_mutex_lock", lock);
}

void mutex_unlock(struct mutex *lock)
{
	if (seen(call::mutex_unlock, {lock}))
		return;
	release("mutex_unlock", lock);
}

void linux_semaphore_init(struct semaphore *semaphore, int count)
{
	if (seen(call::linux_semaphore_init, {semaphore, count}))
		return;
	init(semaphore, sizeof(*semaphore), "semaphore", "", count);
}

int down_killable(struct semaphore *semaphore)
{
	if (auto forced = seen(call::down_killable, {semaphore}))
		return static_cast<int>(*forced);
	take("down_killable", semaphore);
	return 0;
}

void up(struct semaphore *semaphore)
{
	if (seen(call::up, {semaphore}))
		return;
	release("up", semaphore);
}
