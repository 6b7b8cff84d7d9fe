// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The chapters about what flash_mng does for other kernel modules, in the order in which they belong.
#pragma once

#include <string>

namespace tour {

// Loads demo_client, which makes the calls of all chapters here; `modules` is the folder of the kernel modules.
void move_a_section(const std::string &modules);

// Loads the flash driver.
void create_an_spi_flash(const std::string &modules);
void use_the_spi_flash();
void destroy_the_spi_flash();

} // namespace tour
