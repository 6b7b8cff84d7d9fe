// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#pragma once

#include "kernel/file.h"
#include "kernel/pointer.hpp"

namespace flash_mng {

// A file opened by path, or the error of the attempt; closed at the end of its life.
class open_file {
public:
	open_file(const char *path, int flags) : file_(filp_open(path, flags, 0)) {}

	open_file(const open_file &) = delete;
	open_file &operator=(const open_file &) = delete;

	~open_file()
	{
		if (*this)
			filp_close(file_, nullptr);
	}

	explicit operator bool() const { return is_address(file_); }
	long error() const { return error_of(file_); }

	// Each gives Linux's own result. Reading and writing move the file's position.
	long long seek(u32 position) { return vfs_llseek(file_, position, LINUX_SEEK_SET); }
	long read(void *buf, u32 len) { return kernel_read(file_, buf, len, linux_file_position(file_)); }
	long write(const void *buf, u32 len) { return kernel_write(file_, buf, len, linux_file_position(file_)); }
	void flush() { vfs_fsync(file_, 0); }

private:
	file *file_;
};

} // namespace flash_mng
