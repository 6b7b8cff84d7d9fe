// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#pragma once

#include "../conformance/board.hpp"
#include "lab/lab_abi.h"

namespace guest {

// What asks the lab for a device; valid while the description is.
lab_mtd_add asking_for(const board::mtd_spec &wanted);

} // namespace guest
