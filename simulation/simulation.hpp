// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The simulated kernel and platform: the functions of flash_mng_kernel/kernel/*.h and flash_mng_kernel/platform/*.h, defined once more
// for an ordinary process. Each file of this folder simulates one subject; this header is what they share and what a test turns.
//
// The simulation is strict. What Linux would answer with an oops, a report or silent damage ends the process here, with a message that
// names the rule (misuse()). What Linux answers with a code is answered with that code.
//
// All functions may be called from any thread. One lock guards the state of the whole simulation; it is held for the work of one call
// and never while a caller waits for a simulated lock.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "harness.hpp"

class block_device;
struct mtd_info;

namespace simulation {

// ---------------------------------------------------------------------------------------------------------------- common ground

// Ends the process: a rule of Linux or of the platform was broken. The text says which one.
[[noreturn]] void misuse(const char *format, ...) __attribute__((format(printf, 1, 2)));

// The lock of the simulation's state; functions named ..._locked() expect it to be held.
std::mutex &state_mutex();

class state_guard {
public:
	state_guard() : held_(state_mutex()) {}

private:
	std::lock_guard<std::mutex> held_;
};

// Puts every subject back to power-on: memory, devices and files released, nothing registered, logged, traced or armed.
void reset();
// The same, but the board description stays as it was read, and so does the memory of programs.
void power_cycle();

// ---------------------------------------------------------------------------------------------------------------- calls and faults

enum class call {
#define FLASH_CALL(name, arguments) name,
#include "calls.def"
#undef FLASH_CALL
};

// One argument of a call, for the trace. Text is read only where calls.def says that the argument is text.
class traced {
public:
	template <typename integer>
	requires std::is_integral_v<integer> traced(integer value) : number_(static_cast<std::uint64_t>(value)) {}
	traced(const void *address) : address_(address) {}

	std::uint64_t number() const { return number_; }
	const char *text() const { return static_cast<const char *>(address_); }
	void *address() const { return const_cast<void *>(address_); }

private:
	std::uint64_t number_ = 0;
	const void *address_ = nullptr;
};

// Notes that the module makes this call; the forced result when a fault is armed for it, and then the caller must not do its work.
std::optional<long long> seen(call which, std::initializer_list<traced> arguments = {});

// The address that a forced result stands for: 0 is NULL, a negative number the error pointer.
template <typename type> type *as_pointer(long long result)
{
	return reinterpret_cast<type *>(static_cast<std::intptr_t>(result));
}

void arm(std::string_view function, long long result, unsigned nth, bool sticky);
// The same once, and what the caller finds where an argument points.
void forge(std::string_view function, long long result, unsigned argument, std::span<const std::uint8_t> content, unsigned nth);
unsigned faults_hit();
void count_hit_locked();
// Runs an action in the middle of the n-th call of a function, before its work.
void at_call(std::string_view function, unsigned nth, std::function<void()> action);
// Makes the n-th call of a function wait, before its work, for let_calls_go(), which disarms every fault too.
void stop_call(std::string_view function, unsigned nth);
void let_calls_go();
std::vector<std::string> calls();
void forget_calls();
void reset_calls();

// Told of every call that the module makes, as the trace shows it, and of every answer that it gives: who keeps a record of a whole run
// sets one. Must not come back to the simulation.
struct witness {
	void (*called)(const std::string &call);
	void (*answered)(std::string_view function, std::uint32_t code);
};
extern const witness *g_witness;

// Who lets several callers take turns on one thread sets one: each call of the module, and each use of memory, comes by here.
class call_scheduler {
public:
	// Before the work of a call; the result that the call is to give instead of doing it. May let other callers go on meanwhile.
	virtual std::optional<long long> at_call(call which, const std::string &text, std::initializer_list<traced> arguments) = 0;
	// Memory of the module, not cleared.
	virtual void *take_memory(std::size_t size) = 0;
	virtual void give_memory(void *memory) = 0;
	// In place of the end of the process; does not return.
	virtual void rule_is_broken(const std::string &text) = 0;

protected:
	~call_scheduler() = default;
};
extern call_scheduler *g_call_scheduler;

// A caller of the module, as a task of the kernel. Each thread is one.
struct task {
	const void *held_lock = nullptr;
	bool spinning = false; // what it holds is a spinlock
	int system_calls = 0;  // one within the other
	bool is_exiting = false;
	std::vector<std::shared_ptr<block_device>> closed; // and not released
};
task &current_task();
// From now on the calling thread is this task; nullptr: its own again.
void become(task *other);

// ---------------------------------------------------------------------------------------------------------------- memory

// Allocations beyond this many live bytes fail.
inline constexpr std::size_t memory_limit = std::size_t(1) << 30;

struct allocation {
	std::uintptr_t start;
	std::size_t size;
};
// The live allocation that an address lies in.
std::optional<allocation> allocation_around(const void *address);
long heap_allocations();
long virtual_allocations();
void reset_memory();

// ---------------------------------------------------------------------------------------------------------------- locks

// Checks that no lock in the range is held, and forgets the locks in it.
void forget_locks_locked(std::uintptr_t start, std::size_t size);
long locks_held();
// Whether a caller would get a lock at once; a lock that nobody knows counts as free.
bool lock_is_free(const void *storage);
// Ends the process when the calling thread holds a spinlock.
void must_not_sleep_here(const char *function);
void reset_locks();

// ---------------------------------------------------------------------------------------------------------------- MTD and files

int add_mtd(const harness::mtd_spec &spec);
void remove_mtd(int index);
harness::bytes mtd_content(int index, std::uint64_t offset, std::size_t length);
void set_mtd_content(int index, std::uint64_t offset, const std::uint8_t *content, std::size_t length);
int mtd_use_count(int index);
harness::mtd_activity mtd_count(int index);
long mtd_references();
void reset_mtd();

// The n-th erase or write of a device from now on reports an error; 0 for none.
void fail_flash(int index, harness::flash_operation operation, std::uint64_t nth);

long open_files();
void reset_files();
// A system call of the calling thread. At its end the task returns to user space, and the block devices whose files it has closed are
// released. A thread's end does that too.
class system_call {
public:
	system_call();
	system_call(const system_call &) = delete;
	system_call &operator=(const system_call &) = delete;
	~system_call();
};
// While it lives, the calling thread is a task that is exiting: Linux has taken its current->fs, without which no path can be walked.
class exiting_task {
public:
	exiting_task();
	exiting_task(const exiting_task &) = delete;
	exiting_task &operator=(const exiting_task &) = delete;
	~exiting_task();
};
// Block devices, as MTD devices come and go: whether a number is still taken, by one whose files are not released; how many of its files
// are not; the end of its MTD device.
bool block_number_is_taken_locked(int index);
int block_device_openers_locked(int index);
void take_block_device_away_locked(int index);

// ---------------------------------------------------------------------------------------------------------------- user memory

std::uint8_t *user_memory(std::size_t size, harness::access mode);
void protect(void *memory, std::size_t size, harness::access mode);
inline constexpr std::uint64_t kernel_address = 0xffff800000010000;
inline constexpr std::uint64_t unmapped_address = 0x10000;
void reset_user_memory();

// ---------------------------------------------------------------------------------------------------------------- the platform

std::vector<harness::log_line> log();
void forget_log();
std::optional<harness::load_end> load_report();
void forget_load_report();
void reset_log();

// The board description SIMULATION_BOARDS_DIR/<name>.xml, read when it is first asked for something.
void configure(std::string_view name);
void lie_about_count(std::uint32_t reported, unsigned nth);
void lie_with_null_list(unsigned nth);
void reset_xml();

// What the board description says about an instance apart from its nodes.
struct instance_facts {
	bool known;
	std::optional<std::uint32_t> parent;
	std::optional<std::uint32_t> card;
	std::uint32_t bom;
};
struct lock_values {
	std::uint32_t lock;
	std::uint32_t unlock;
};
// The values that the board states for a hardware lock of an instance.
std::optional<lock_values> stated_lock_values(std::uint32_t inst_id, std::uint32_t lock_type);
instance_facts facts_of_instance(std::uint32_t inst_id);
void reset_hard_locks();

// ---------------------------------------------------------------------------------------------------------------- the suite's flash driver

void register_driver(const harness::driver_slots &slots);
std::vector<harness::flash_part_spec> created_parts();
void reset_driver();

// ---------------------------------------------------------------------------------------------------------------- the device

bool device_registered();
void reset_device();

} // namespace simulation
