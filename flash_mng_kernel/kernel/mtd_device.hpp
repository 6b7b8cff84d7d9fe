// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#pragma once

#include "kernel/mtd.h"
#include "kernel/pointer.hpp"

namespace flash_mng {

// A reference to an MTD device, or none; put back at the end of its life.
class mtd_device {
public:
	static mtd_device named(const char *name) { return mtd_device(get_mtd_device_nm(name)); }
	static mtd_device numbered(int number) { return mtd_device(get_mtd_device(nullptr, number)); }

	mtd_device(const mtd_device &) = delete;
	mtd_device &operator=(const mtd_device &) = delete;

	~mtd_device()
	{
		if (*this)
			put_mtd_device(device_);
	}

	explicit operator bool() const { return is_address(device_); }

	u64 size() const { return linux_mtd_size(device_); }
	u32 index() const { return linux_mtd_index(device_); }
	u32 type() const { return linux_mtd_type(device_); }
	const char *describe(flash_mtd_stat_entry &entry) const { return linux_mtd_describe(device_, &entry); }

private:
	explicit mtd_device(mtd_info *device) : device_(device) {}

	mtd_info *device_;
};

} // namespace flash_mng
