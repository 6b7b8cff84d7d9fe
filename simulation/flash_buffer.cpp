// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The flash buffer service of the platform module "plat_extern_api", on the simulated MTD devices. An update erases and writes only the
// erase blocks whose content changes.
#include "platform/flash_buffer.h"

#include <algorithm>
#include <charconv>
#include <string_view>
#include <vector>

#include "../../reference_platform/include/platform_status.h"
#include "mtd.hpp"
#include "simulation.hpp"

using namespace simulation;

namespace {

std::optional<int> index_of_path(std::string_view path)
{
	constexpr std::string_view prefix = "/dev/mtd";
	int index = 0;

	if (!path.starts_with(prefix))
		return std::nullopt;
	const auto digits = path.substr(prefix.size());
	const auto [end, error] = std::from_chars(digits.begin(), digits.end(), index);
	if (error != std::errc() || end != digits.end() || digits != std::to_string(index))
		return std::nullopt;
	return index;
}

u32 find_range_locked(const char *path, unsigned long offset, const void *buf, unsigned long len, mtd_info **device)
{
	if (!path || !buf)
		return FLASH_BUFFER_BAD_ARGUMENT;
	const auto index = index_of_path(path);
	if (!index)
		return FLASH_BUFFER_BAD_PATH;
	*device = mtd_device_locked(*index);
	if (!*device)
		return FLASH_BUFFER_NO_DEVICE;
	return len > (*device)->size() || offset > (*device)->size() - len ? FLASH_BUFFER_BEYOND_END : 0;
}

u32 update_block_locked(mtd_info &device, std::uint64_t block, std::uint64_t offset, const std::uint8_t *from, std::size_t length)
{
	std::vector<std::uint8_t> image(device.spec().erase_size);

	device.read(block, image.data(), image.size());
	const auto place = image.begin() + static_cast<std::ptrdiff_t>(offset - block);
	if (std::equal(from, from + length, place))
		return 0;
	std::copy_n(from, length, place);
	if (!device.erase(block))
		return FLASH_BUFFER_ERASE_FAILED;
	return device.program(block, image.data(), image.size()) ? 0 : FLASH_BUFFER_WRITE_FAILED;
}

u32 update_locked(mtd_info &device, std::uint64_t offset, const std::uint8_t *from, std::size_t length)
{
	const std::uint32_t erase_size = device.spec().erase_size;

	while (length > 0) {
		const auto block = offset - offset % erase_size;
		const auto part = std::min<std::size_t>(length, block + erase_size - offset);

		if (const u32 status = update_block_locked(device, block, offset, from, part))
			return status;
		offset += part;
		from += part;
		length -= part;
	}
	return 0;
}

} // namespace

u32 plat_mtd_read_buf(const char *path, unsigned long offset, void *buf, unsigned long len)
{
	mtd_info *device;

	if (auto forced = seen(call::plat_mtd_read_buf, {path, offset, buf, len}))
		return static_cast<u32>(*forced);
	state_guard guard;
	const u32 status = find_range_locked(path, offset, buf, len, &device);
	if (status == 0)
		device->read(offset, buf, len);
	return status;
}

u32 plat_mtd_update_buf(const char *path, unsigned long offset, const void *buf, unsigned long len)
{
	mtd_info *device;

	if (auto forced = seen(call::plat_mtd_update_buf, {path, offset, buf, len}))
		return static_cast<u32>(*forced);
	state_guard guard;
	const u32 status = find_range_locked(path, offset, buf, len, &device);
	return status ? status : update_locked(*device, offset, static_cast<const std::uint8_t *>(buf), len);
}
