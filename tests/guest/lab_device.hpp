// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// /dev/flash_lab from C++: one command, or an exception that says which command failed and why.
#pragma once

#include <string>
#include <string_view>

#include "lab/lab_abi.h"

namespace guest {

// Opened at the first command and kept open.
int lab_file();
// Gives 0 or an errno.
int try_lab(unsigned long command, void *record);
// Throws std::runtime_error naming `what`.
void lab(unsigned long command, void *record, std::string_view what);
// Copies a name into a fixed field; throws when it does not fit.
void set_name(char (&field)[LAB_NAME_SIZE], std::string_view name);

lab_status status();

// Small files of /sys, /proc and debugfs. Both throw with the path and the reason.
std::string read_file(const std::string &path);
void write_file(const std::string &path, std::string_view text);
bool file_exists(const std::string &path);

// The file of a kernel module of the board.
std::string module_file(std::string_view name);
// finit_module and delete_module; 0 or an errno. The kernel's result of a module that stays loaded although its init function gave a
// positive code is 0.
int insert_module(const std::string &path, const std::string &parameters = "");
int remove_module(const std::string &name);
// The same, again and again for a minute while it is still in use: a file that was just closed may hold its module a moment longer.
int remove_module_patiently(const std::string &name);

// Lines of the kernel log with this text.
std::string kernel_messages(std::string_view text);

} // namespace guest
