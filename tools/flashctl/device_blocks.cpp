// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "device_blocks.hpp"

#include <fcntl.h>
#include <mtd/mtd-user.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <optional>

#include "bytes.hpp"

using flash_mng::status;

namespace flashctl {

namespace {

// An open file, closed at its end.
class device_file {
public:
	explicit device_file(const std::string &path) : descriptor_(::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {}
	device_file(const device_file &) = delete;
	device_file &operator=(const device_file &) = delete;
	~device_file()
	{
		if (descriptor_ >= 0)
			::close(descriptor_);
	}

	int descriptor() const { return descriptor_; }

private:
	int descriptor_;
};

// Nothing: the kernel's answer is an error other than that the device has no bad blocks.
std::optional<bool> is_bad(int file, std::uint64_t address)
{
	__kernel_loff_t place = static_cast<__kernel_loff_t>(address);
	const int answer = ::ioctl(file, MEMGETBADBLOCK, &place);
	if (answer < 0 && errno != EOPNOTSUPP)
		return std::nullopt;
	return answer > 0;
}

// A read succeeds with wrong bytes where ECC fails; the device's counters tell.
block_state state_of(int file, std::uint64_t address, bytes &room)
{
	mtd_ecc_stats before = {}, after = {};
	const bool counted = ::ioctl(file, ECCGETSTATS, &before) == 0;
	if (::pread(file, room.data(), room.size(), static_cast<off_t>(address)) != static_cast<ssize_t>(room.size()))
		return block_state::unreadable;
	if (!counted || ::ioctl(file, ECCGETSTATS, &after) != 0)
		return block_state::good;
	if (after.failed != before.failed)
		return block_state::unreadable;
	return after.corrected != before.corrected ? block_state::worn : block_state::good;
}

} // namespace

flash_mng::result<std::vector<block_state>> blocks_of(const std::string &path, const mtd_device &device, bool scan)
{
	const device_file file(path);
	if (file.descriptor() < 0)
		return status::from_errno(errno);
	std::vector<block_state> blocks(device.erase_size ? device.size / device.erase_size : 0);
	bytes room(scan ? device.erase_size : 0);
	for (std::size_t i = 0; i < blocks.size(); ++i) {
		const std::uint64_t address = i * std::uint64_t{device.erase_size};
		const auto bad = is_bad(file.descriptor(), address);
		if (!bad)
			return status::from_errno(errno);
		if (*bad)
			blocks[i] = block_state::bad;
		else if (scan)
			blocks[i] = state_of(file.descriptor(), address, room);
	}
	return blocks;
}

} // namespace flashctl
