// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Standard streams that the caller of a program has closed.
#pragma once

namespace tools {

// To be called first: takes the numbers of the standard streams that are closed, so that no file that the program opens gets one of them
// and what is meant for the stream. Reading and writing there fails with EBADF, as before.
void hold_standard_streams();

} // namespace tools
