// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The board as the conformance suite sees it: load the module with this configuration, call this function, issue this command, make
// that call fail, then look at the code, the log, the order of calls and the bytes.
//
// Two back ends implement these functions: simulation/ runs the module's own objects on a simulated kernel and platform in this very
// process; tests/guest drives the real modules on the virtual board. A case must not know which one it runs on; one that cannot run on
// a back end asks `world()` and skips with its reason.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace harness {

using std::uint32_t;
using std::uint64_t;
using bytes = std::vector<std::uint8_t>;

enum class world_kind { host, guest };
world_kind world();

// ---------------------------------------------------------------------------------------------------------------- the whole board

// Back to the state right after power-on: the module unloaded, MTD devices of the suite removed, faults disarmed, log and calls
// cleared, the configuration "plain". Called before and after each case by the fixture.
void reset();

// Selects the configuration tests/conformance/boards/<name>.xml for the next load.
void configure(std::string_view name);

// ---------------------------------------------------------------------------------------------------------------- MTD devices

inline constexpr uint32_t mtd_ram = 1, mtd_nor = 3, mtd_nand = 4, mtd_mlc_nand = 8; // MTD type codes

struct mtd_spec {
	std::string name;	 // any length
	uint64_t size = 0x40000; // bytes; multiple of erase_size; 4 GiB and more allowed (backed sparsely)
	uint32_t type = mtd_nand;
	uint32_t erase_size = 0x10000;
	bool nameless = false;					// a device without a name at all
	std::optional<uint32_t> partition_flags = std::nullopt; // set: made as a partition of a hidden parent and created with these flags
	std::optional<int> index = std::nullopt;		// wanted MTD number; default: the lowest that is free
};

// Adds a device and returns its MTD number. A new device reads as 0xFF everywhere. The suite starts with no MTD device at all.
int add_mtd(const mtd_spec &spec);
void remove_mtd(int index);
// Looks at and changes the content behind the module's back, without being traced.
bytes mtd_content(int index, uint64_t offset, std::size_t length);
void set_mtd_content(int index, uint64_t offset, std::span<const std::uint8_t> content);
// References held on a device from outside its owner; 0 when everything was put back.
int mtd_use_count(int index);
// Programming and erasing done since the device was added: writes and erases that the flash saw.
struct mtd_activity {
	uint64_t erases;
	uint64_t writes;
};
mtd_activity mtd_count(int index);
// The n-th erase or write of a device from now on (from 1) fails: the flash reports an error and keeps what it held. 0 disarms.
enum class flash_operation { erase, write };
void fail_flash(int index, flash_operation operation, uint64_t nth = 1);

// ---------------------------------------------------------------------------------------------------------------- faults

// The n-th call (from 1) that the module makes to `function` (a name of calls.def) does nothing and returns `result`.
// For a function that returns an address, 0 is NULL and a negative number the error pointer.
void fail(std::string_view function, long long result, unsigned nth = 1);
// The same for every call from the n-th on.
void fail_always(std::string_view function, long long result, unsigned nth = 1);
// The n-th call stores `content` (at most 64 bytes) where its argument `argument` (from 0) points, does nothing else, and returns `result`.
void forge(std::string_view function, long long result, unsigned argument, std::span<const std::uint8_t> content, unsigned nth = 1);
// The n-th entry list handed out reports this count, whatever its length is; or reports its count and is NULL.
void lie_about_count(uint32_t reported, unsigned nth = 1);
void lie_with_null_list(unsigned nth = 1);
// The n-th call waits, before its work, until go_on(), which lets all waiting calls go and disarms every fault. It must be a call that may
// sleep; calls() shows it as soon as it waits.
void stop_at(std::string_view function, unsigned nth = 1);
void go_on();
// How many of the armed faults have been hit since the last reset().
unsigned faults_hit();

// While it lives, reports of a real kernel's console that contain the text are expected; any other report fails the run.
class expected_report {
public:
	explicit expected_report(std::string_view text);
	expected_report(const expected_report &) = delete;
	expected_report &operator=(const expected_report &) = delete;
	~expected_report();
};

// ---------------------------------------------------------------------------------------------------------------- what was seen

struct log_line {
	uint32_t module_id;
	uint32_t level;
	std::string text;
	bool operator==(const log_line &) const = default;
};

// Messages written by the module since the last reset or forget(), in order.
std::vector<log_line> log();
// Calls made by the module, rendered as calls.def says, in order.
std::vector<std::string> calls();
// Forgets log and calls.
void forget();

// Memory, MTD references and files that the module has taken and not yet given back; 0 right after reset().
struct holdings {
	long heap = 0;
	long virtual_memory = 0;
	long mtd_references = 0;
	long open_files = 0;
	long locks = 0;
	bool operator==(const holdings &) const = default;
};
holdings held();

// ---------------------------------------------------------------------------------------------------------------- the module

// Loads the module. The result is the code given to log_module_init_end(); see load_report().
uint32_t load();
void unload();
bool loaded();
bool device_registered(); // /dev/flash_mng can be opened

struct load_end {
	std::string name;
	uint32_t result;
	std::optional<std::string> failure;
	uint64_t start_ms;
};
std::optional<load_end> load_report(); // what log_module_init_end() was told at the last load

// ---------------------------------------------------------------------------------------------------------------- calling it

// Partitions for drv_flash_create().
struct flash_part_spec {
	std::string name; // up to 32 bytes; exactly 32 leave no room for a NUL
	uint32_t offset = 0;
	uint32_t size = 0x10000;
	bool operator==(const flash_part_spec &) const = default;
};
struct parts_spec {
	std::vector<flash_part_spec> parts;
	std::optional<uint32_t> part_num = std::nullopt; // default: as many as there are
	bool null_parts = false;			 // the address of the parts is NULL
};

// An argument of a function of the module: a number, an address, or a buffer in kernel memory whose content goes in and comes back.
class argument {
public:
	argument(uint64_t value) : value_(value) {}
	argument(int value) : value_(static_cast<uint64_t>(value)) {}
	argument(uint32_t value) : value_(value) {}
	argument(std::nullptr_t) {}
	argument(bytes *buffer) : buffer_(buffer) {} // updated in place; its size is the buffer's size
	argument(const char *text) : text_(text) {}  // a NUL-terminated copy
	argument(const std::string &text) : text_(text) {}
	argument(const parts_spec *parts) : parts_(parts) {} // a struct flash_parts_info

	uint64_t value() const { return value_; }
	bytes *buffer() const { return buffer_; }
	const std::optional<std::string> &text() const { return text_; }
	const parts_spec *parts() const { return parts_; }

private:
	uint64_t value_ = 0;
	bytes *buffer_ = nullptr;
	std::optional<std::string> text_;
	const parts_spec *parts_ = nullptr;
};

// Calls a function of the module in kernel context by its name, exported or not. The result is its 32-bit result.
uint32_t call(std::string_view function, std::initializer_list<argument> arguments);
// The same for a function that returns an address: whether it was not NULL.
bool call_finds(std::string_view function, std::initializer_list<argument> arguments);
// The same, all 64 bits of the result: an address to be handed to another function.
uint64_t call_address(std::string_view function, std::initializer_list<argument> arguments);

// Several steps of one system call, so that the task does not return to user space between them. Calls of functions, and MTD devices that
// go and come.
struct kernel_call {
	std::string function;
	std::vector<argument> arguments;
};
struct mtd_removal {
	int index;
};
using step = std::variant<kernel_call, mtd_removal, mtd_spec>;
// The 32-bit results of the calls, in order.
std::vector<uint32_t> one_system_call(const std::vector<step> &steps);

// Content of a global of the module.
bytes global(std::string_view name, std::size_t size);
// Content of kernel memory at an address that the module gave out.
bytes memory(uint64_t address, std::size_t size);

// ---------------------------------------------------------------------------------------------------------------- a flash driver

// Registers the suite's own flash driver with drv_flash_driver_register(). Its functions are traced and made to fail like any other call,
// as suite_driver_get_size, suite_driver_create and suite_driver_destroy; they return 0. A slot left out is NULL.
struct driver_slots {
	bool get_size = true;
	bool create = true;
	bool destroy = true;
};
void register_driver(const driver_slots &slots = {});
// What suite_driver_get_size stores, as a u64.
inline constexpr uint64_t suite_flash_size = 0x123456789a;
// The partitions that the last suite_driver_create was given.
std::vector<flash_part_spec> created_parts();
// In the n-th call that the module makes to `function`, before its work, the driver is unregistered, or replaced by one with these slots.
void unregister_driver_at(std::string_view function, unsigned nth = 1);
void replace_driver_at(std::string_view function, const driver_slots &slots, unsigned nth = 1);

// ---------------------------------------------------------------------------------------------------------------- user space

// What the ioctl system call gave to the program. The low 32 bits of `value` are the module's code. In 5.10 an ioctl's result passes
// through an int: the program sees the low 32 bits sign-extended, -1 becomes errno EPERM, and values from -4095 to -1 become errno.
struct ioctl_result {
	long value; // as returned by ioctl(2); -1 when errno_value is set
	int errno_value;
	uint32_t code() const { return errno_value ? static_cast<uint32_t>(-errno_value) : static_cast<uint32_t>(value); }
};
ioctl_result ioctl(uint32_t command, uint64_t address);

enum class access { read_write, read_only, none };
// Memory of the calling process: `size` bytes that end right at the end of their mapping, followed by nothing mapped. Lives until reset().
std::uint8_t *user_memory(std::size_t size, access mode = access::read_write);
uint64_t user_address(const void *memory);
// Changes what the program may do with memory from user_memory().
void protect(void *memory, std::size_t size, access mode);
uint64_t kernel_address();   // an address that belongs to the kernel
uint64_t unmapped_address(); // a user address with nothing behind it

} // namespace harness
