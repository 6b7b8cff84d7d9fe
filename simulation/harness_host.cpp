// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The board of the conformance suite on the simulated kernel and platform: the module's own objects run in this process.
#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "flash_mng.h"
#include "functions.hpp"
#include "harness.hpp"
#include "kernel/device.h"
#include "simulation.hpp"

namespace harness {

namespace {

bool g_loaded;

constexpr int highest_errno = 4095;
constexpr int no_such_command = 515; // Linux's ENOIOCTLCMD, which programs see as ENOTTY

// One argument in kernel memory of exactly its size, so that a sanitizer sees every byte beyond it.
class kernel_argument {
public:
	explicit kernel_argument(const argument &from) : buffer_(from.buffer()), value_(from.value())
	{
		if (buffer_)
			place(buffer_->data(), buffer_->size());
		else if (from.text())
			place(from.text()->c_str(), from.text()->size() + 1);
		else if (from.parts())
			place(*from.parts());
	}
	kernel_argument(const kernel_argument &) = delete;
	kernel_argument &operator=(const kernel_argument &) = delete;

	~kernel_argument()
	{
		if (buffer_ && !buffer_->empty())
			std::memcpy(buffer_->data(), memory_, buffer_->size());
		std::free(memory_);
		std::free(parts_);
	}

	uint64_t value() const { return value_; }

private:
	void place(const void *content, std::size_t size)
	{
		memory_ = std::malloc(size);
		if (size > 0)
			std::memcpy(memory_, content, size);
		value_ = reinterpret_cast<uint64_t>(memory_);
	}

	void place(const parts_spec &spec)
	{
		if (!spec.null_parts) {
			parts_ = static_cast<flash_part *>(std::calloc(spec.parts.size(), sizeof(flash_part)));
			std::transform(spec.parts.begin(), spec.parts.end(), parts_, built);
		}
		flash_parts_info info = {};
		info.part_num = spec.part_num.value_or(static_cast<uint32_t>(spec.parts.size()));
		info.parts = parts_;
		place(&info, sizeof(info));
	}

	static flash_part built(const flash_part_spec &spec)
	{
		flash_part part = {spec.offset, spec.size, {}};
		std::memcpy(part.mtd_name, spec.name.data(), std::min(spec.name.size(), sizeof(part.mtd_name)));
		return part;
	}

	bytes *buffer_;
	uint64_t value_;
	void *memory_ = nullptr;
	flash_part *parts_ = nullptr;
};

uint64_t witnessed(std::string_view function, uint64_t answer)
{
	if (simulation::g_witness)
		simulation::g_witness->answered(function, static_cast<uint32_t>(answer));
	return answer;
}

uint64_t call_in_kernel(std::string_view function, std::span<const argument> arguments)
{
	std::vector<std::unique_ptr<kernel_argument>> placed;
	std::vector<uint64_t> values;

	if (!g_loaded)
		simulation::misuse("%.*s is called while the module is not loaded", static_cast<int>(function.size()), function.data());
	const simulation::system_call around;
	for (const auto &argument : arguments)
		values.push_back(placed.emplace_back(std::make_unique<kernel_argument>(argument))->value());
	return witnessed(function, simulation::call_function(function, values));
}

} // namespace

world_kind world()
{
	return world_kind::host;
}

void reset()
{
	simulation::reset_calls();
	if (g_loaded)
		unload();
	simulation::reset();
}

void configure(std::string_view name)
{
	simulation::configure(name);
}

int add_mtd(const mtd_spec &spec)
{
	return simulation::add_mtd(spec);
}

void remove_mtd(int index)
{
	simulation::remove_mtd(index);
}

bytes mtd_content(int index, uint64_t offset, std::size_t length)
{
	return simulation::mtd_content(index, offset, length);
}

void set_mtd_content(int index, uint64_t offset, std::span<const std::uint8_t> content)
{
	simulation::set_mtd_content(index, offset, content.data(), content.size());
}

void fail_flash(int index, flash_operation operation, uint64_t nth)
{
	simulation::fail_flash(index, operation, nth);
}

std::vector<uint32_t> one_system_call(const std::vector<step> &steps)
{
	const simulation::system_call around;
	std::vector<uint32_t> results;

	for (const step &each : steps) {
		if (const auto *call = std::get_if<kernel_call>(&each))
			results.push_back(static_cast<uint32_t>(call_in_kernel(call->function, call->arguments)));
		else if (const auto *removal = std::get_if<mtd_removal>(&each))
			remove_mtd(removal->index);
		else
			add_mtd(std::get<mtd_spec>(each));
	}
	return results;
}

int mtd_use_count(int index)
{
	return simulation::mtd_use_count(index);
}

mtd_activity mtd_count(int index)
{
	return simulation::mtd_count(index);
}

void fail(std::string_view function, long long result, unsigned nth)
{
	simulation::arm(function, result, nth, false);
}

void fail_always(std::string_view function, long long result, unsigned nth)
{
	simulation::arm(function, result, nth, true);
}

void forge(std::string_view function, long long result, unsigned argument, std::span<const std::uint8_t> content, unsigned nth)
{
	simulation::forge(function, result, argument, content, nth);
}

void stop_at(std::string_view function, unsigned nth)
{
	simulation::stop_call(function, nth);
}

void go_on()
{
	simulation::let_calls_go();
}

void lie_about_count(uint32_t reported, unsigned nth)
{
	simulation::lie_about_count(reported, nth);
}

void lie_with_null_list(unsigned nth)
{
	simulation::lie_with_null_list(nth);
}

// The simulation has no console.
expected_report::expected_report(std::string_view) {}
expected_report::~expected_report() {}

unsigned faults_hit()
{
	return simulation::faults_hit();
}

std::vector<log_line> log()
{
	return simulation::log();
}

std::vector<std::string> calls()
{
	return simulation::calls();
}

void forget()
{
	simulation::forget_log();
	simulation::forget_calls();
}

holdings held()
{
	return {simulation::heap_allocations(), simulation::virtual_allocations(), simulation::mtd_references(), simulation::open_files(),
		simulation::locks_held()};
}

uint32_t load()
{
	if (g_loaded)
		simulation::misuse("load(): the module is loaded already");
	simulation::refresh_globals();
	simulation::forget_load_report();
	const auto result = static_cast<uint32_t>(witnessed("flash_mng_load", flash_mng_load()));
	g_loaded = static_cast<int>(result) >= 0; // Linux takes only a negative result for a failure
	const auto end = load_report();
	if (end && end->result != result)
		simulation::misuse("the load gave 0x%x and reported 0x%x", result, end->result);
	return result;
}

void unload()
{
	if (!g_loaded)
		simulation::misuse("unload(): the module is not loaded");
	flash_mng_unload();
	g_loaded = false;
}

bool loaded()
{
	return g_loaded;
}

bool device_registered()
{
	return simulation::device_registered();
}

std::optional<load_end> load_report()
{
	return simulation::load_report();
}

uint32_t call(std::string_view function, std::initializer_list<argument> arguments)
{
	return static_cast<uint32_t>(call_in_kernel(function, arguments));
}

bool call_finds(std::string_view function, std::initializer_list<argument> arguments)
{
	return call_in_kernel(function, arguments) != 0;
}

uint64_t call_address(std::string_view function, std::initializer_list<argument> arguments)
{
	return call_in_kernel(function, arguments);
}

void register_driver(const driver_slots &slots)
{
	simulation::register_driver(slots);
}

std::vector<flash_part_spec> created_parts()
{
	return simulation::created_parts();
}

void unregister_driver_at(std::string_view function, unsigned nth)
{
	simulation::at_call(function, nth, drv_flash_driver_unregister);
}

void replace_driver_at(std::string_view function, const driver_slots &slots, unsigned nth)
{
	simulation::at_call(function, nth, [slots] { simulation::register_driver(slots); });
}

bytes global(std::string_view name, std::size_t size)
{
	const auto content = simulation::global_named(name);

	if (size > content.size())
		simulation::misuse("%.*s has %zu bytes, not %zu", static_cast<int>(name.size()), name.data(), content.size(), size);
	const auto *start = reinterpret_cast<const std::uint8_t *>(content.data());
	return {start, start + size};
}

bytes memory(uint64_t address, std::size_t size)
{
	const auto *start = reinterpret_cast<const std::uint8_t *>(address);
	return {start, start + size};
}

ioctl_result ioctl(uint32_t command, uint64_t address)
{
	if (!device_registered())
		return {-1, ENOENT};
	if (const int error = flash_open(nullptr, nullptr))
		return {-1, -error};
	const simulation::system_call around;
	const auto answer = static_cast<uint64_t>(flash_ioctl(nullptr, command, address));
	if (answer > UINT32_MAX)
		simulation::misuse("command %#x answers with %#llx, which is no code", command, static_cast<unsigned long long>(answer));
	const int result = static_cast<int>(witnessed("command " + std::to_string(command), answer)); // Linux 5.10 keeps it in an int
	if (result == -no_such_command)
		return {-1, ENOTTY};
	if (result < 0 && result >= -highest_errno)
		return {-1, -result};
	return {result, 0};
}

std::uint8_t *user_memory(std::size_t size, access mode)
{
	return simulation::user_memory(size, mode);
}

uint64_t user_address(const void *memory)
{
	return reinterpret_cast<uint64_t>(memory);
}

void protect(void *memory, std::size_t size, access mode)
{
	simulation::protect(memory, size, mode);
}

uint64_t kernel_address()
{
	return simulation::kernel_address;
}

uint64_t unmapped_address()
{
	return simulation::unmapped_address;
}

} // namespace harness
