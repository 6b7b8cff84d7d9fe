// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What the files of the guest back end need of each other.
#pragma once

#include <string_view>

#include "lab/lab_abi.h"

namespace guest {

// Gives back all memory that user_memory() made.
void release_user_memory();
// Empties the platform's log.
void clear_platform_log();
// Arms a fault; throws naming `what`.
void arm(lab_fault fault, std::string_view what);

} // namespace guest
