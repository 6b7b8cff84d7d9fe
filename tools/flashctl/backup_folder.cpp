// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "backup_folder.hpp"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cctype>
#include <ctime>
#include <filesystem>
#include <map>
#include <sstream>

#include "failure.hpp"
#include "files.hpp"

namespace flashctl {

namespace {

using nlohmann::ordered_json;

constexpr char manifest_name[] = "manifest.json";
constexpr char sums_name[] = "SHA256SUMS";
constexpr int format = 1;
constexpr std::size_t most_text = 1 << 20, longest_name = 100;

failure broken(const std::string &message)
{
	return {exit_status::file, message, "take another backup; nothing was written"};
}

byte_view view_of(const std::string &text)
{
	return std::as_bytes(std::span(text));
}

std::string time_now()
{
	const std::time_t now = std::time(nullptr);
	std::tm parts = {};
	gmtime_r(&now, &parts);
	std::array<char, 32> text = {};
	return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts)};
}

std::string manifest_of(const backup_contents &contents)
{
	ordered_json images = ordered_json::array();
	for (const backup_image &image : contents.images)
		images.push_back({{"partition", image.partition},
				  {"file", image.file},
				  {"size", image.size},
				  {"usable", image.usable ? ordered_json(*image.usable) : ordered_json()},
				  {"sha256", image.sha256}});
	return ordered_json{{"format", format}, {"time", contents.time}, {"images", images}}.dump(2) + "\n";
}

using sums = std::map<std::string, std::string>;

// Lines "SUM  FILE".
sums sums_in(const std::string &text)
{
	sums found;
	std::istringstream lines(text);
	for (std::string line; std::getline(lines, line);)
		if (line.size() > 66)
			found[line.substr(66)] = line.substr(0, 64);
	return found;
}

std::string read_text(const std::string &folder, const std::string &file)
{
	const std::string path = folder + "/" + file;
	std::error_code none;
	if (!std::filesystem::is_regular_file(path, none))
		throw broken(fmt::format("{} is no complete backup: it has no {}", folder, file));
	const bytes content = read_file(path, most_text);
	if (content.size() > most_text)
		throw broken(path + " is too long");
	return {reinterpret_cast<const char *>(content.data()), content.size()};
}

bool is_plain_name(const std::string &file)
{
	return !file.empty() && file.front() != '.' && file.find('/') == std::string::npos && file.find('\0') == std::string::npos;
}

// Nothing for what is not a whole number of 32 bits.
std::optional<std::uint32_t> count_in(const nlohmann::json &value)
{
	if (!value.is_number_unsigned() || value.get<std::uint64_t>() > UINT32_MAX)
		return std::nullopt;
	return value.get<std::uint32_t>();
}

backup_image image_of(const nlohmann::json &row)
{
	const auto size = count_in(row.at("size")), usable = count_in(row.at("usable"));
	backup_image image = {row.at("partition").get<std::string>(), row.at("file").get<std::string>(), size.value_or(0), usable,
			      row.at("sha256").get<std::string>()};
	if (image.size == 0 || !is_plain_name(image.file) || (!usable && !row.at("usable").is_null()))
		throw broken("\"" + image.partition + "\" of the manifest has no size or no file name that a backup can have");
	return image;
}

backup_contents contents_of(const std::string &manifest)
{
	const auto read = nlohmann::json::parse(manifest);
	if (read.at("format") != format)
		throw broken("the manifest has a format that this flashctl does not know");
	backup_contents contents = {read.at("time").get<std::string>(), {}};
	for (const auto &row : read.at("images")) {
		backup_image image = image_of(row);
		if (std::ranges::find(contents.images, image.partition, &backup_image::partition) != contents.images.end())
			throw broken("the manifest has \"" + image.partition + "\" twice");
		contents.images.push_back(std::move(image));
	}
	if (contents.images.empty())
		throw broken("the manifest has no image");
	return contents;
}

} // namespace

std::string image_name(const mtd_device &device)
{
	std::string safe;
	for (const unsigned char letter : device.name)
		safe += (letter < 0x80 && std::isalnum(letter)) || letter == '_' || letter == '-'
				? std::string(1, static_cast<char>(letter))
				: fmt::format("%{:02x}", letter);
	return fmt::format("mtd{}-{}.img", device.number, safe.substr(0, longest_name));
}

new_backup::new_backup(const std::string &folder) : folder_(folder)
{
	std::error_code error;
	made_ = std::filesystem::create_directory(folder, error);
	if (error || !std::filesystem::is_directory(folder, error))
		throw failure{exit_status::file, folder + " cannot be made" + (error ? ": " + error.message() : ": it is a file"), ""};
	const bool empty = std::filesystem::is_empty(folder, error);
	if (error)
		throw failure{exit_status::file, folder + " cannot be read: " + error.message(), ""};
	if (!empty)
		throw failure{exit_status::file, folder + " is not empty", "a backup never replaces another; give a new folder"};
}

new_backup::~new_backup()
{
	if (finished_)
		return;
	std::error_code none;
	for (const std::string &file : stored_)
		std::filesystem::remove(folder_ + "/" + file, none);
	if (made_)
		std::filesystem::remove(folder_, none);
}

void new_backup::store(const std::string &file, byte_view data)
{
	write_file(folder_ + "/" + file, data);
	stored_.push_back(file);
}

void new_backup::add(const mtd_device &device, byte_view data)
{
	const std::string file = image_name(device);
	store(file, data);
	contents_.images.push_back({device.name, file, static_cast<std::uint32_t>(data.size()), device.usable, sha256(data)});
}

backup_contents new_backup::finish()
{
	contents_.time = time_now();
	const std::string manifest = manifest_of(contents_);
	store(manifest_name, view_of(manifest));
	std::string lines;
	for (const backup_image &image : contents_.images)
		lines += image.sha256 + "  " + image.file + "\n";
	lines += sha256(view_of(manifest)) + "  " + manifest_name + "\n";
	store(sums_name, view_of(lines));
	finished_ = true;
	return contents_;
}

backup_contents read_backup(const std::string &folder)
{
	const sums expected = sums_in(read_text(folder, sums_name));
	const std::string manifest = read_text(folder, manifest_name);
	const auto has_sum = [&expected](const std::string &file, const std::string &sum) {
		const auto found = expected.find(file);
		return found != expected.end() && found->second == sum;
	};
	if (!has_sum(manifest_name, sha256(view_of(manifest))))
		throw broken(fmt::format("{}/{} has changed: it is not the one of {}", folder, manifest_name, sums_name));
	try {
		backup_contents contents = contents_of(manifest);
		for (const backup_image &image : contents.images)
			if (!has_sum(image.file, image.sha256))
				throw broken(fmt::format("{}/{} does not have the sum of {} that the manifest has", folder, sums_name,
							 image.file));
		return contents;
	} catch (const nlohmann::json::exception &) {
		throw broken(fmt::format("{}/{} is no manifest of a backup", folder, manifest_name));
	}
}

bytes read_image(const std::string &folder, const backup_image &image)
{
	const std::string path = folder + "/" + image.file;
	std::error_code none;
	if (!std::filesystem::is_regular_file(path, none))
		throw broken(fmt::format("{}, the image of \"{}\", is missing", path, image.partition));
	bytes data = read_file(path, image.size);
	if (data.size() != image.size)
		throw broken(fmt::format("{} has {} than the {} bytes of the manifest", path, data.size() < image.size ? "fewer" : "more",
					 image.size));
	if (sha256(data) != image.sha256)
		throw broken(fmt::format("{} has changed: its SHA-256 is not the one of the manifest", path));
	return data;
}

} // namespace flashctl
