// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "kernel_flash.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <memory>

#include "device_blocks.hpp"
#include "device_uses.hpp"
#include "module_log.hpp"
#include "mtd_words.hpp"
#include "number.hpp"
#include "platform_codes.hpp"

using flash_mng::result;
using flash_mng::status;

namespace flashctl {

namespace {

// The number of "mtd<N>"; nothing for other entries of sysfs, such as "mtd0ro".
std::optional<std::uint32_t> device_number(const std::string &entry)
{
	std::uint32_t number = 0;
	const char *const end = entry.data() + entry.size();
	if (!entry.starts_with("mtd"))
		return std::nullopt;
	const auto [stop, error] = std::from_chars(entry.data() + 3, end, number);
	return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

std::string first_line(const std::string &path)
{
	const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
	if (file < 0)
		return "";
	char text[4096]; // as much as an attribute of sysfs has
	const ssize_t size = ::read(file, text, sizeof(text));
	::close(file);
	const std::string_view all(text, static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
	return std::string(all.substr(0, all.find('\n')));
}

std::uint64_t number_in(const std::string &path)
{
	return parse_size(first_line(path), UINT64_MAX).value_or(0);
}

constexpr std::size_t most_load_lines = 8;
constexpr std::uint32_t writable_flag = 0x400;

result<std::vector<mtd_device>> module_devices(const flash_mng::device &device)
{
	const auto record = std::make_unique<flash_mtd_statistics>();
	if (const status answer = device.statistics(*record); !answer.ok())
		return answer;
	std::vector<mtd_device> devices;
	for (std::uint32_t i = 0; i < std::min<std::uint32_t>(record->count, FLASH_MNG_STAT_ENTRIES); ++i) {
		const flash_mtd_stat_entry &entry = record->entries[i];
		const std::string name(entry.name, strnlen(entry.name, sizeof(entry.name)));
		devices.push_back({entry.index, name, entry.type, entry.size, entry.erasesize, entry.flags, false});
	}
	return devices;
}

} // namespace

status kernel_flash::open(const std::string &path)
{
	auto opened = flash_mng::device::open(path.c_str());
	if (opened)
		device_.emplace(std::move(*opened));
	return opened.status();
}

kernel_flash::~kernel_flash()
{
	for (const int claim : claims_)
		::close(claim);
}

status kernel_flash::lock(const mtd_device &device)
{
	const bool locked = flock(device_->descriptor(), LOCK_EX | LOCK_NB) == 0;
	if (!locked && errno != ENOSYS)
		return status::from_errno(errno);

	// O_EXCL on a block device: one holder at a time, for as long as it is open.
	const int claim = ::open(("/dev/mtdblock" + std::to_string(device.number)).c_str(), O_RDONLY | O_EXCL | O_CLOEXEC);
	if (claim >= 0) {
		claims_.push_back(claim);
		return {};
	}
	if (errno == EBUSY)
		return status::from_errno(EBUSY);
	if (locked)
		return {};
	return status::from_errno(errno == EACCES || errno == EPERM ? EACCES : ENOSYS);
}

std::vector<device_use> kernel_flash::uses(const mtd_device &device)
{
	return uses_of(device, root_);
}

std::vector<std::string> kernel_flash::load_log()
{
	return load_lines(read_log(root_), most_load_lines);
}

platform_table kernel_flash::platform_codes()
{
	if (auto shipped = read_platform_table(root_ + "/usr/share/flash_mng/platform-codes"))
		return std::move(*shipped);
	return has_reference_platform() ? reference_platform_table() : platform_table{"platform", {}};
}

bool kernel_flash::has_reference_platform() const
{
	std::error_code none;
	return std::filesystem::exists(root_ + "/sys/module/log/parameters/printk_level", none) &&
	       std::filesystem::exists(root_ + "/sys/module/log/parameters/keep_level", none);
}

bool kernel_flash::keeps_equal_blocks()
{
	const std::string said = first_line(root_ + service_file);
	return said.empty() ? has_reference_platform() : said == "changed-blocks";
}

std::optional<mtd_device> kernel_flash::kernel_device(std::uint32_t number) const
{
	const std::string folder = mtd_folder_ + "/mtd" + std::to_string(number) + "/";
	const auto type = mtd_type_of(first_line(folder + "type"));
	if (!type)
		return std::nullopt;
	return mtd_device{number,
			  first_line(folder + "name"),
			  *type,
			  number_in(folder + "size"),
			  static_cast<std::uint32_t>(number_in(folder + "erasesize")),
			  static_cast<std::uint32_t>(number_in(folder + "flags")),
			  false};
}

std::vector<mtd_device> kernel_flash::kernel_devices() const
{
	std::vector<mtd_device> devices;
	std::error_code none;
	for (const auto &entry : std::filesystem::directory_iterator(mtd_folder_, none))
		if (const auto number = device_number(entry.path().filename()))
			if (auto device = kernel_device(*number))
				devices.push_back(std::move(*device));
	return devices;
}

status kernel_flash::mark_listed(std::vector<mtd_device> &devices) const
{
	for (mtd_device &device : devices) {
		const auto name = flash_mng::partition_name::make(device.name);
		if (!name)
			continue;
		const auto listed = device_->is_listed(*name);
		if (!listed)
			return listed.status();
		device.listed = *listed;
	}
	return {};
}

// The module stops at the first number without a device, and gives no answer at all when a device's name is too long for its record.
result<std::vector<mtd_device>> kernel_flash::devices()
{
	auto told = module_devices(*device_);
	auto all = kernel_devices();
	if (!told && (!told.status().is(FLASH_MNG_COPY_FAILED) || all.empty()))
		return told.status();

	std::vector<mtd_device> devices = told ? std::move(*told) : std::vector<mtd_device>();
	for (mtd_device &device : all)
		if (std::ranges::find(devices, device.number, &mtd_device::number) == devices.end())
			devices.push_back(std::move(device));
	std::ranges::sort(devices, {}, &mtd_device::number);
	if (const status answer = mark_listed(devices); !answer.ok())
		return answer;
	add_facts(devices);
	return devices;
}

// The statistics have the flags that a partition was created with, not those that the kernel goes by.
void kernel_flash::add_facts(std::vector<mtd_device> &devices) const
{
	const auto usable = usable_sizes(read_log(root_));
	for (mtd_device &device : devices) {
		const std::string flags = first_line(mtd_folder_ + "/mtd" + std::to_string(device.number) + "/flags");
		if (const auto known = tools::parse_number(flags, UINT32_MAX)) {
			device.flags = static_cast<std::uint32_t>(*known);
			device.writable = device.flags & writable_flag;
		}
		const auto size = usable.find(device.name);
		if (device.listed && size != usable.end())
			device.usable = static_cast<std::uint32_t>(std::min<std::uint64_t>(size->second, device.size));
	}
}

std::uint32_t kernel_flash::bad_blocks(const mtd_device &device)
{
	return static_cast<std::uint32_t>(number_in(mtd_folder_ + "/mtd" + std::to_string(device.number) + "/bad_blocks"));
}

device_counts kernel_flash::counts(const mtd_device &device)
{
	const std::string folder = mtd_folder_ + "/mtd" + std::to_string(device.number) + "/";
	const auto count = [&folder](const char *name) { return tools::parse_number(first_line(folder + name), UINT64_MAX); };
	return {count("bad_blocks"),   count("bbt_blocks"),	   count("corrected_bits"),
		count("ecc_failures"), count("bitflip_threshold"), count("ecc_strength")};
}

result<std::vector<block_state>> kernel_flash::blocks(const mtd_device &device, bool scan)
{
	return blocks_of(root_ + "/dev/mtd" + std::to_string(device.number) + "ro", device, scan);
}

status kernel_flash::read(const std::string &name, std::uint32_t offset, std::span<std::byte> data)
{
	const auto partition = flash_mng::partition_name::make(name);
	return partition ? device_->read(*partition, flash_mng::byte_offset{offset}, data) : status::unfit_request();
}

status kernel_flash::write(const std::string &name, std::uint32_t offset, std::span<const std::byte> data)
{
	const auto partition = flash_mng::partition_name::make(name);
	return partition ? device_->write(*partition, flash_mng::byte_offset{offset}, data) : status::unfit_request();
}

result<bool> kernel_flash::has_user_data()
{
	return device_->has_user_data();
}

result<flash_mng::user_data> kernel_flash::user_data()
{
	return device_->user_data();
}

result<spi_controller_config> kernel_flash::find_spi_flash(flash_mng::instance_id instance)
{
	return device_->find_spi_flash(instance);
}

result<spi_controller_config> kernel_flash::find_spi_flash(const std::string &name)
{
	return device_->find_spi_flash(std::string_view(name));
}

} // namespace flashctl
