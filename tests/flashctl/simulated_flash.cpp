// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "simulated_flash.hpp"

#include <algorithm>
#include <cerrno>
#include <limits>

namespace flashctl_tests {

namespace {

constexpr std::uint32_t block = 0x1000;
constexpr std::uint32_t bounded_no_room = 34;
constexpr std::uint32_t service_beyond_end = 0x70050005;

partition make_part(std::uint32_t number, const char *name, std::uint32_t type, std::uint32_t size, std::uint32_t usable = 0)
{
	return {{number, name, type, size, block, 0x400, usable != 0}, pattern(size, number), usable};
}

} // namespace

bytes pattern(std::size_t size, unsigned seed)
{
	bytes content(size);
	for (std::size_t i = 0; i < size; ++i)
		content[i] = static_cast<std::byte>((i * 7 + (i >> 8) + seed * 31) & 0xff);
	return content;
}

bytes data_of(std::string_view text)
{
	const auto view = std::as_bytes(std::span(text));
	return {view.begin(), view.end()};
}

simulated_flash::simulated_flash()
{
	// Thousands of cases begin with these.
	static const std::vector<partition> fresh = {make_part(0, "boot", 4, 0x4000),
						     make_part(1, "config", 4, 0x4000, 0x2000),
						     make_part(2, "usrdata", 4, 0x8000, 0x6000),
						     make_part(3, "rootfs", 4, 0x10000),
						     make_part(4, "nor", 3, 0x8000),
						     make_part(5, "ram0", 1, 0x4000)};
	parts = fresh;
}

void simulated_flash::fail_call(std::size_t n, status with)
{
	fail_first_ = fail_last_ = calls.size() + n;
	failure_ = with;
}

void simulated_flash::fail_from(std::size_t n, status with)
{
	fail_call(n, with);
	fail_last_ = std::numeric_limits<std::size_t>::max();
}

status simulated_flash::called(const char *function)
{
	calls.emplace_back(function);
	return calls.size() >= fail_first_ && calls.size() <= fail_last_ && fail_first_ ? failure_ : status();
}

partition *simulated_flash::find(const std::string &name)
{
	const auto found = std::ranges::find(parts, name, [](const partition &part) { return part.device.name; });
	return found == parts.end() ? nullptr : &*found;
}

partition &simulated_flash::part(const std::string &name)
{
	return *find(name);
}

status simulated_flash::open(const std::string &)
{
	return called("open");
}

status simulated_flash::lock(const flashctl::mtd_device &)
{
	const status answer = called("lock");
	return answer.ok() ? lock_answer : answer;
}

std::vector<flashctl::device_use> simulated_flash::uses(const flashctl::mtd_device &)
{
	if (!called("uses").ok())
		return {{flashctl::danger::unknown, "may be mounted", "mount /proc"}};
	return users;
}

result<std::vector<flashctl::mtd_device>> simulated_flash::devices()
{
	if (const status answer = called("devices"); !answer.ok())
		return answer;
	std::vector<flashctl::mtd_device> all;
	for (const partition &part : parts)
		all.push_back(part.device);
	return all;
}

std::uint32_t simulated_flash::bad_blocks(const flashctl::mtd_device &device)
{
	const partition *const part = find(device.name);
	return part ? part->bad : 0;
}

result<std::vector<flashctl::block_state>> simulated_flash::blocks(const flashctl::mtd_device &device, bool)
{
	if (const status answer = called("blocks"); !answer.ok())
		return answer;
	const partition *const part = find(device.name);
	if (!part || part->blocks.empty())
		return status::from_errno(ENOENT);
	return part->blocks;
}

status simulated_flash::read(const std::string &name, std::uint32_t offset, std::span<std::byte> data)
{
	if (const status answer = called("read"); !answer.ok())
		return answer;
	const partition *const part = find(name);
	if (!part || !part->device.listed)
		return status::from_code(FLASH_MNG_NOT_LISTED);
	if (data.empty())
		return status::from_code(FLASH_MNG_EMPTY_RANGE);
	if (offset + data.size() > UINT32_MAX)
		return status::from_code(FLASH_MNG_NO_BUFFER);
	if (offset + data.size() > part->content.size() - std::size_t{part->bad} * block)
		return status::from_code(service_beyond_end);
	if (!reads_leave_buffer)
		std::copy_n(part->content.begin() + offset, data.size(), data.begin());
	if (after_read)
		after_read(data);
	return {};
}

status simulated_flash::write(const std::string &name, std::uint32_t offset, std::span<const std::byte> data)
{
	if (const status answer = called("write"); !answer.ok())
		return answer;
	if (!write_answer.ok())
		return write_answer;
	partition *const part = find(name);
	if (!part || !part->device.listed)
		return status::from_code(FLASH_MNG_NOT_LISTED);
	if (data.empty())
		return status::from_code(FLASH_MNG_EMPTY_RANGE);
	if (offset + data.size() > part->usable)
		return status::from_code(bounded_no_room);
	std::ranges::copy(data, part->content.begin() + offset);
	if (after_write)
		after_write(*part);
	return {};
}

result<bool> simulated_flash::has_user_data()
{
	const status answer = called("has_user_data");
	return answer.ok() ? result<bool>(user_data_exists) : answer;
}

result<flash_mng::user_data> simulated_flash::user_data()
{
	const status answer = called("user_data");
	if (!answer.ok())
		return answer;
	if (!user_data_exists)
		return status::from_code(FLASH_MNG_FAILED);
	return flash_mng::user_data{1, part("usrdata").content.size()};
}

result<spi_controller_config> simulated_flash::find_spi_flash(flash_mng::instance_id instance)
{
	const status answer = called("find_spi_flash");
	if (!answer.ok())
		return answer;
	return static_cast<std::uint32_t>(instance) == spi.inst_id ? result<spi_controller_config>(spi)
								   : status::from_code(FLASH_MNG_NOT_FOUND);
}

result<spi_controller_config> simulated_flash::find_spi_flash(const std::string &name)
{
	const status answer = called("find_spi_flash");
	if (!answer.ok())
		return answer;
	return name == spi_name ? result<spi_controller_config>(spi) : status::from_code(FLASH_MNG_NOT_FOUND);
}

} // namespace flashctl_tests
