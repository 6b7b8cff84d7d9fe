// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The two ways into flash_mng: commands of its device, and its functions, called by the kernel module demo_client.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tour {

using bytes = std::vector<uint8_t>;

// A file, closed at the end of the object's life.
class descriptor {
public:
	descriptor(const std::string &path, int flags);
	descriptor(const descriptor &) = delete;
	descriptor &operator=(const descriptor &) = delete;
	~descriptor();

	int get() const { return fd_; }
	bool is_open() const { return fd_ >= 0; }

private:
	int fd_;
};

// Loads <folder>/<name>.ko, unloads it again; false when the kernel refuses.
bool load_module(const std::string &folder, const std::string &name);
bool unload_module(const std::string &name);

// A command of /dev/flash_mng; gives its code.
uint32_t command(uint32_t number, void *record);

// The commands that move data of a partition.
uint32_t transfer(uint32_t number, const char *partition, uint32_t offset, bytes &data);

struct answer {
	uint32_t code;
	bytes data;
};

// A function of flash_mng, as board/demo/client/demo_client.c lists them. FLASH_MNG_FAILED when demo_client does not take the call.
answer kernel_call(const std::string &line, const bytes &data = {});

} // namespace tour
