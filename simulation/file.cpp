// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Files opened from inside the kernel: the block devices /dev/mtdblock<N>. Sizes, ends and errors are those of Linux's block device
// files: a read stops at the end, a write that starts there finds no space, a seek past it is refused.
//
// filp_close() closes a file for its user at once. The block device is released when the task returns to user space: only then is the
// last close made, and until then the device keeps its number, whatever becomes of the MTD device.
#include "kernel/file.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <map>
#include <memory>
#include <vector>

#include "block_device.hpp"
#include "mtd.hpp"
#include "simulation.hpp"

struct file {
	std::shared_ptr<block_device> device;
	int flags;
	long long position;

	bool readable() const { return (flags & O_ACCMODE) != O_WRONLY; }
	bool writable() const { return (flags & O_ACCMODE) != O_RDONLY; }
	bool synchronous() const { return flags & O_DSYNC; }
};

namespace simulation {

namespace {

constexpr std::size_t most_bytes_at_once = 0x7ffff000;

std::vector<std::unique_ptr<file>> g_open;
std::map<int, std::shared_ptr<block_device>> g_block_devices; // by their number; those with files only

void release_locked(const std::shared_ptr<block_device> &device)
{
	if (--device->openers > 0)
		return;
	if (device->mtd())
		device->drop();
	std::erase_if(g_block_devices, [&](const auto &entry) { return entry.second == device; });
}

void return_to_user_space(task &returning)
{
	state_guard guard;

	for (const auto &device : returning.closed)
		release_locked(device);
	returning.closed.clear();
}

struct own_task : task {
	~own_task() { return_to_user_space(*this); }
};

thread_local own_task g_own_task;
thread_local task *g_other_task;

file &open_file_locked(const char *function, const struct file *file)
{
	const auto found = std::find_if(g_open.begin(), g_open.end(), [&](const auto &open) { return open.get() == file; });

	if (found == g_open.end())
		misuse("%s(%p): no open file (closed already, or an error pointer)", function, static_cast<const void *>(file));
	if (!(*found)->device->mtd())
		misuse("%s(): the MTD device of the open file has gone", function);
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

std::shared_ptr<block_device> block_device_locked(mtd_info &mtd)
{
	auto &device = g_block_devices[mtd.index()];

	if (!device)
		device = std::make_shared<block_device>(mtd);
	return device->mtd() == &mtd ? device : nullptr;
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
	const auto left = file.device->size() - static_cast<std::uint64_t>(file.position);
	return static_cast<std::size_t>(std::min<std::uint64_t>({count, most_bytes_at_once, left}));
}

} // namespace

task &current_task()
{
	return g_other_task ? *g_other_task : g_own_task;
}

void become(task *other)
{
	g_other_task = other;
}

system_call::system_call()
{
	++current_task().system_calls;
}

system_call::~system_call()
{
	if (--current_task().system_calls == 0)
		return_to_user_space(current_task());
}

exiting_task::exiting_task()
{
	current_task().is_exiting = true;
}

exiting_task::~exiting_task()
{
	current_task().is_exiting = false;
}

bool block_number_is_taken_locked(int index)
{
	return g_block_devices.contains(index);
}

int block_device_openers_locked(int index)
{
	const auto found = g_block_devices.find(index);
	return found == g_block_devices.end() || !found->second->mtd() ? 0 : found->second->openers;
}

void take_block_device_away_locked(int index)
{
	const auto is_on_it = [&](const auto &open) { return open->device->mtd() && open->device->mtd()->index() == index; };
	const auto found = g_block_devices.find(index);

	if (std::any_of(g_open.begin(), g_open.end(), is_on_it))
		misuse("mtd%d is removed while its block device is open", index);
	if (found != g_block_devices.end() && found->second->mtd())
		found->second->lose_device(true);
}

long open_files()
{
	state_guard guard;
	return static_cast<long>(g_open.size());
}

void reset_files()
{
	state_guard guard;
	g_open.clear();
	for (const auto &[index, device] : g_block_devices)
		device->lose_device(false);
	g_block_devices.clear();
}

} // namespace simulation

using namespace simulation;

struct file *filp_open(const char *path, int flags, unsigned short mode)
{
	if (auto forced = seen(call::filp_open, {path, flags, mode}))
		return as_pointer<file>(*forced);
	state_guard guard;
	auto *mtd = device_of_path_locked(path);

	if (current_task().is_exiting)
		misuse("filp_open(\"%s\") by an exiting task: current->fs is gone, Linux follows the null pointer", path);
	if (!mtd || !mtd->has_block_device)
		return as_pointer<file>(-ENOENT);
	const auto device = block_device_locked(*mtd);
	++device->openers;
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
	if (offset < 0 || static_cast<std::uint64_t>(offset) > open.device->size())
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
	const auto position = static_cast<std::uint64_t>(open.position);
	open.device->write(position, buf, part);
	open.position += static_cast<long long>(part);
	const int error = open.synchronous() ? open.device->flush(position, part) : 0;
	return error ? error : static_cast<long>(part);
}

int vfs_fsync(struct file *file, int datasync)
{
	if (auto forced = seen(call::vfs_fsync, {file, datasync}))
		return static_cast<int>(*forced);
	state_guard guard;
	auto &device = *open_file_locked("vfs_fsync", file).device;
	return device.flush(0, device.size());
}

int filp_close(struct file *file, void *owner)
{
	if (auto forced = seen(call::filp_close, {file, owner}))
		return static_cast<int>(*forced);
	state_guard guard;
	current_task().closed.push_back(open_file_locked("filp_close", file).device);
	std::erase_if(g_open, [&](const auto &open) { return open.get() == file; });
	return 0;
}

long long *linux_file_position(struct file *file)
{
	state_guard guard;
	return &open_file_locked("linux_file_position", file).position;
}
