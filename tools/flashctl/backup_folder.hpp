// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// A folder with a backup: an image of each partition, manifest.json, which says what they are, and SHA256SUMS, which "sha256sum -c"
// accepts and which is written last. Every function throws a failure.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "bytes.hpp"
#include "flash.hpp"

namespace flashctl {

struct backup_image {
	std::string partition;
	std::string file;		     // its name in the folder
	std::uint32_t size;		     // bytes in it
	std::optional<std::uint32_t> usable; // bytes that the module wrote, where that was known
	std::string sha256;
};

struct backup_contents {
	std::string time; // UTC, as 2026-11-22T08:00:00Z
	std::vector<backup_image> images;
};

// A name for the image of a device that every file system takes and no other device of the board has.
std::string image_name(const mtd_device &device);

// A new backup. Without finish() nothing is left of it.
class new_backup {
public:
	// Makes the folder, or takes an empty one; any other is refused.
	explicit new_backup(const std::string &folder);
	new_backup(const new_backup &) = delete;
	new_backup &operator=(const new_backup &) = delete;
	~new_backup();

	// Stores an image; its file name, size and sum go into the contents.
	void add(const mtd_device &device, byte_view data);

	// Stores the manifest and the sums.
	backup_contents finish();

private:
	void store(const std::string &file, byte_view data);

	std::string folder_;
	bool made_ = false, finished_ = false;
	std::vector<std::string> stored_;
	backup_contents contents_;
};

// What the folder has, as its manifest says; the manifest is compared with the sums. The images are not looked at.
backup_contents read_backup(const std::string &folder);

// An image, compared with its size and its sum.
bytes read_image(const std::string &folder, const backup_image &image);

} // namespace flashctl
