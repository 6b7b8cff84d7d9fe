// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What the tour shows: numbered chapters, and a line for each thing that was checked.
#pragma once

#include <cstdint>
#include <string>

namespace tour {

void chapter(const char *title);

// Says what was checked, and remembers it when it did not hold.
void expect(bool holds, const std::string &what);

// The last line of the tour; gives its exit status.
int verdict();

// 417, but 0x811B01A4: codes and addresses as the documentation writes them.
std::string hex(uint32_t value);

// 0x100000 is "1 MiB".
std::string human(uint64_t size);

} // namespace tour
