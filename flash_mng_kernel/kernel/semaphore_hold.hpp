// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#pragma once

#include "kernel/lock.h"

namespace flash_mng {

// Holds a semaphore for its own life, unless the waiting task was killed.
class semaphore_hold {
public:
	explicit semaphore_hold(semaphore &access) : access_(access), result_(down_killable(&access_)) {}
	semaphore_hold(const semaphore_hold &) = delete;
	semaphore_hold &operator=(const semaphore_hold &) = delete;
	~semaphore_hold()
	{
		if (*this)
			up(&access_);
	}

	explicit operator bool() const { return result_ == 0; }
	int result() const { return result_; }

private:
	semaphore &access_;
	int result_;
};

} // namespace flash_mng
