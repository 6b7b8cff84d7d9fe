// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Files opened from inside the kernel: the block devices /dev/mtdblock<N>. Sizes, ends and errors are those of Linux's block device
// files: a read stops at the end, a write that starts there finds no space, a seek past it is refused.
#include <algorithm>
#include <cerrno>
#include <charconv>
#include <fcntl.h>
#include <memory>
#include <vector>

#include "kernel/file.h"
#include "mtd.hpp"
#include "simulation.hpp"

struct file {
	mtd_info *device;
	int flags;
	long long position;

	bool readable() const { return (flags & O_ACCMODE) != O_WRONLY; }
	bool writable() const { return (flags & O_ACCMODE) != O_RDONLY; }
	// A block device holds whole sectors.
	std::uint64_t size() const { return device->size() / 512 * 512; }
};

namespace simulation {

namespace {

constexpr std::size_t g_most_bytes_at_once = 0x7ffff000;

std::vector<std::unique_ptr<file>> g_open;

file &open_file_locked(const char *function, const struct file *file)
{
	const auto found = std::find_if(g_open.begin(), g_open.end(), [&](const auto &open) { return open.get() == file; });

	if (found == g_open.end())
		misuse("%s(%p): no open file (closed already, or an error pointer)", function, static_cast<const void *>(file));
	return **found;
}

mtd_info *device_of_path_locked(std::string_view path)
{
	constexpr std::string_view prefix = "/dev/mtdblock";
	int index = 0;

	if (!path.starts_with(prefix))
		return nullptr;
	const auto digits = path.substr(prefix.size());
	const auto [end, error] = std::from_chars(digits.begin(), digits.end(), index);
	return error == std::errc() && end == digits.end() ? mtd_device_locked(index) : nullptr;
}

void use_own_position_locked(const char *function, const file &file, const long long *position)
{
	if (position != &file.position)
		misuse("%s(): the position is not the file's own", function);
	if (*position < 0)
		misuse("%s(): the position is negative", function);
}

std::size_t transferable_locked(const file &file, std::size_t count)
{
	const auto left = file.size() - static_cast<std::uint64_t>(file.position);
	return static_cast<std::size_t>(std::min<std::uint64_t>({count, g_most_bytes_at_once, left}));
}

// Linux's block device writes RAM in place and any other device by whole erase blocks.
void write_locked(const file &file, const void *buf, std::size_t length)
{
	const auto position = static_cast<std::uint64_t>(file.position);

	if (file.device->spec().type == board::mtd_ram)
		file.device->program(position, buf, length);
	else
		file.device->update(position, buf, length, false);
}

} // namespace

long open_files()
{
	state_guard guard;
	return static_cast<long>(g_open.size());
}

void reset_files()
{
	state_guard guard;
	g_open.clear();
}

} // namespace simulation

using namespace simulation;

struct file *filp_open(const char *path, int flags, unsigned short mode)
{
	if (auto forced = seen(call::filp_open, {path, flags, mode}))
		return as_pointer<file>(*forced);
	state_guard guard;
	auto *device = device_of_path_locked(path);

	if (!device)
		return as_pointer<file>(-ENOENT);
	++device->open_files;
	return g_open.emplace_back(new file{device, flags, 0}).get();
}

long long vfs_llseek(struct file *file, long long offset, int whence)
{
	if (auto forced = seen(call::vfs_llseek, {file, offset, whence}))
		return *forced;
	state_guard guard;
	auto &open = open_file_locked("vfs_llseek", file);

	if (whence != SEEK_SET)
		misuse("vfs_llseek(): only seeks from the start are simulated");
	if (offset < 0 || static_cast<std::uint64_t>(offset) > open.size())
		return -EINVAL;
	return open.position = offset;
}

long kernel_read(struct file *file, void *buf, size_t count, long long *pos)
{
	if (auto forced = seen(call::kernel_read, {file, buf, count, pos}))
		return static_cast<long>(*forced);
	state_guard guard;
	auto &open = open_file_locked("kernel_read", file);

	use_own_position_locked("kernel_read", open, pos);
	if (!open.readable())
		return -EINVAL;
	const auto part = transferable_locked(open, count);
	open.device->read(static_cast<std::uint64_t>(open.position), buf, part);
	open.position += static_cast<long long>(part);
	return static_cast<long>(part);
}

long kernel_write(struct file *file, const void *buf, size_t count, long long *pos)
{
	if (auto forced = seen(call::kernel_write, {file, buf, count, pos}))
		return static_cast<long>(*forced);
	state_guard guard;
	auto &open = open_file_locked("kernel_write", file);

	use_own_position_locked("kernel_write", open, pos);
	if (!open.writable())
		return -EBADF;
	const auto part = transferable_locked(open, count);
	if (count > 0 && part == 0)
		return -ENOSPC;
	write_locked(open, buf, part);
	open.position += static_cast<long long>(part);
	return static_cast<long>(part);
}

int vfs_fsync(struct file *file, int datasync)
{
	if (auto forced = seen(call::vfs_fsync, {file, datasync}))
		return static_cast<int>(*forced);
	state_guard guard;
	open_file_locked("vfs_fsync", file);
	return 0;
}

int filp_close(struct file *file, void *owner)
{
	if (auto forced = seen(call::filp_close, {file, owner}))
		return static_cast<int>(*forced);
	state_guard guard;
	--open_file_locked("filp_close", file).device->open_files;
	std::erase_if(g_open, [&](const auto &open) { return open.get() == file; });
	return 0;
}

long long *linux_file_position(struct file *file)
{
	state_guard guard;
	return &open_file_locked("linux_file_position", file).position;
}
