// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#pragma once

#include "harness.hpp"
#include "lab/lab_abi.h"

namespace guest {

// What asks the lab for a device; valid while the description is.
lab_mtd_add asking_for(const harness::mtd_spec &wanted);

} // namespace guest
