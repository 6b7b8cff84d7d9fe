// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#pragma once

#include "kernel/lock.h"

namespace flash_mng {

// Holds a mutex for its own life.
class LOCK_HOLDER mutex_guard {
public:
	explicit mutex_guard(mutex &lock) TAKES(lock) : lock_(lock) { linux_mutex_lock(&lock_); }
	mutex_guard(const mutex_guard &) = delete;
	mutex_guard &operator=(const mutex_guard &) = delete;
	~mutex_guard() GIVES_BACK() { mutex_unlock(&lock_); }

private:
	mutex &lock_;
};

} // namespace flash_mng
