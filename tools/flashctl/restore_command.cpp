// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// restore: look at the whole backup and at everything that would be written, ask once, and write and verify one partition after the other.
#include <fmt/format.h>

#include <algorithm>
#include <iterator>

#include "backup_folder.hpp"
#include "commands.hpp"
#include "failure.hpp"
#include "name_match.hpp"
#include "number.hpp"
#include "partition.hpp"
#include "writing.hpp"

namespace flashctl {

namespace {

using action = restored_image::action;

std::vector<std::string> names_of(const std::vector<backup_image> &images)
{
	std::vector<std::string> names;
	std::ranges::transform(images, std::back_inserter(names), &backup_image::partition);
	return names;
}

// Those asked for, in the order of the backup.
std::vector<backup_image> chosen(const backup_contents &contents, const restore_request &request)
{
	if (request.partitions.empty())
		return contents.images;
	const auto names = names_of(contents.images);
	for (const std::string &name : request.partitions)
		if (std::ranges::find(names, name) == names.end())
			throw failure{exit_status::not_found, request.folder + " has no image of \"" + name + "\"",
				      did_you_mean(name, names)};
	std::vector<backup_image> images;
	std::ranges::copy_if(contents.images, std::back_inserter(images), [&request](const backup_image &image) {
		return std::ranges::find(request.partitions, image.partition) != request.partitions.end();
	});
	return images;
}

range range_of(const mtd_device &device, const backup_image &image)
{
	if (!device.usable)
		throw failure{exit_status::unsupported,
			      fmt::format("nobody tells how many bytes of \"{}\" can be written, so its image may not fit", device.name),
			      "read the log as root, or load the module again; \"flashctl write\" writes one image all the same"};
	return writable_range(device, {device.name, 0, std::nullopt}, image.size);
}

class restoration {
public:
	restoration(const restore_request &request, workplace &place, restore_outcome &result)
		: request_(request), place_(place), result_(result)
	{
	}

	// Everything that would refuse the write of an image, and what it would change. A refused one is told in the result.
	void plan()
	{
		for (restored_image &image : result_.images)
			attempt(image, action::refused, [&] { plan_one(image); });
		if (result_.wrong)
			result_.wrong->message += "; nothing was written";
	}

	void ask()
	{
		const auto changing =
			std::ranges::count_if(result_.images, [](const restored_image &image) { return image.changes != 0u; });
		if (request_.yes || changing == 0)
			return;
		std::uint64_t size = 0;
		for (const restored_image &image : result_.images)
			size += image.image.size;
		ask_person(place_, fmt::format("Write {} of {} partitions ({}) from the backup of {}?", changing, result_.images.size(),
					       human_size(size), result_.time));
	}

	void write()
	{
		for (restored_image &image : result_.images)
			image.done = action::left;
		place_.work = {0, ahead_, {}};
		for (restored_image &image : result_.images) {
			attempt(image, action::failed, [&] { write_one(image); });
			if (place_.console.signal() && !result_.wrong)
				result_.wrong = failure{exit_status::interrupted, place_.console.signal(), ""};
			if (result_.wrong)
				break;
		}
		if (result_.wrong)
			result_.wrong->message += "; " + state();
	}

private:
	template <typename work_type> void attempt(restored_image &image, action when_wrong, const work_type &work)
	{
		try {
			work();
		} catch (...) {
			const failure wrong = failure_in_flight();
			image.done = when_wrong;
			image.words = wrong.message;
			if (!result_.wrong)
				result_.wrong = wrong;
		}
	}

	void plan_one(restored_image &image)
	{
		leave_if_interrupted(place_);
		const mtd_device device = find_writable(place_, image.image.partition);
		const range wanted = range_of(device, image.image);
		keep_others_out(place_, device, is_known_to_be_used(place_, device, request_.forced));
		const bytes data = read_image(request_.folder, image.image);
		const picture taken = take_picture(place_, wanted, data, verification::all);
		image.changes = count_changes(taken);
		image.done = action::planned;
		ahead_ += taken.area.length + (*image.changes ? wanted.length + std::uint64_t{taken.area.length} : 0);
	}

	void write_one(restored_image &image)
	{
		const range wanted = range_of(find_writable(place_, image.image.partition), image.image);
		const bytes data = read_image(request_.folder, image.image);
		const picture taken = take_picture(place_, wanted, data, verification::all);
		image.changes = count_changes(taken);
		if (image.changes == 0u) {
			image.done = action::unchanged;
			return;
		}
		write_data(place_, wanted, data, &taken);
		write_outcome compared;
		check_written(place_, taken, compared);
		if (!compared.equal())
			throw failure{exit_status::mismatch, "\"" + image.image.partition + "\" does not hold what was written",
				      "look for errors of the flash in the kernel log, then restore again"};
		image.done = action::written;
	}

	std::string with(std::initializer_list<action> wanted) const
	{
		std::vector<std::string> names;
		for (const restored_image &image : result_.images)
			if (std::ranges::find(wanted, image.done) != wanted.end())
				names.push_back(image.image.partition);
		return names.empty() ? "none" : fmt::format("{}", fmt::join(names, ", "));
	}

	std::string state() const
	{
		return fmt::format("restored and verified: {}; not written: {}", with({action::written, action::unchanged}),
				   with({action::left}));
	}

	const restore_request &request_;
	workplace &place_;
	restore_outcome &result_;
	std::uint64_t ahead_ = 0; // each is read again, and what changes is written and read back
};

} // namespace

outcome run_command(const restore_request &request, workplace &place)
{
	place.console.hold_signals();
	const backup_contents contents = read_backup(request.folder);
	restore_outcome result = {request.folder, contents.time, request.dry_run, {}};
	for (const backup_image &image : chosen(contents, request)) {
		leave_if_interrupted(place);
		(void)read_image(request.folder, image);
		result.images.push_back({image});
	}
	open_device(place);

	restoration work(request, place, result);
	work.plan();
	leave_if_interrupted(place);
	if (request.dry_run || result.wrong)
		return result;
	work.ask();
	leave_if_interrupted(place);
	work.write();
	return result;
}

} // namespace flashctl
