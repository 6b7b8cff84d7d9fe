// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "failure.hpp"

#include <cerrno>
#include <exception>
#include <new>

#include "code_words.hpp"

namespace flashctl {

namespace {

exit_status exit_of_code(std::uint32_t code)
{
	switch (code) {
	case FLASH_MNG_NO_PARTITION:
	case FLASH_MNG_NOT_FOUND:
		return exit_status::not_found;
	case FLASH_MNG_NOT_LISTED:
	case FLASH_MNG_UNKNOWN_COMMAND:
	case FLASH_MNG_NO_DRIVER:
		return exit_status::unsupported;
	case FLASH_MNG_NO_MEMORY:
	case FLASH_MNG_NO_BUFFER:
		return exit_status::no_memory;
	default:
		return exit_status::flash;
	}
}

exit_status exit_of_error(int error)
{
	switch (error) {
	case EACCES:
	case EPERM:
		return exit_status::denied;
	case ENOENT:
	case ENODEV:
	case ENXIO:
		return exit_status::no_module;
	case EBUSY:
	case EWOULDBLOCK:
		return exit_status::busy;
	case ENOTTY:
	case ENOSYS:
		return exit_status::unsupported;
	case ENOMEM:
		return exit_status::no_memory;
	default:
		return exit_status::flash;
	}
}

} // namespace

failure failure_in_flight()
{
	try {
		throw;
	} catch (const failure &wrong) {
		return wrong;
	} catch (const std::bad_alloc &) {
		return {exit_status::no_memory, "not enough memory", "ask for a smaller range"};
	} catch (const std::exception &error) {
		return {exit_status::file, error.what(), ""};
	}
}

const char *kind_of(exit_status exit)
{
	switch (exit) {
	case exit_status::done:
		return "done";
	case exit_status::file:
		return "file";
	case exit_status::usage:
		return "usage";
	case exit_status::not_found:
		return "not_found";
	case exit_status::denied:
		return "denied";
	case exit_status::no_module:
		return "no_module";
	case exit_status::flash:
		return "flash";
	case exit_status::mismatch:
		return "mismatch";
	case exit_status::busy:
		return "busy";
	case exit_status::unsupported:
		return "unsupported";
	case exit_status::declined:
		return "declined";
	case exit_status::no_memory:
		return "no_memory";
	case exit_status::interrupted:
		return "interrupted";
	}
	return "flash";
}

exit_status exit_of(const flash_mng::status &status)
{
	switch (status.origin()) {
	case flash_mng::origin::success:
		return exit_status::done;
	case flash_mng::origin::module:
		return exit_of_code(status.code());
	case flash_mng::origin::system:
		return exit_of_error(status.error());
	case flash_mng::origin::request:
		break;
	}
	return exit_status::usage;
}

failure failed(const std::string &action, const flash_mng::status &status)
{
	return failed(action, status, asked_for::anything, reference_platform_table());
}

failure failed(const std::string &action, const flash_mng::status &status, asked_for where, const platform_table &platform)
{
	const exit_status exit = status.ok() ? exit_status::flash : exit_of(status);
	if (status.origin() != flash_mng::origin::module)
		return {exit, action + ": " + status.meaning(), "", status};
	const code_words words = explain_code(status.code(), where, platform);
	const bool is_range = words.is_range && where != asked_for::anything;
	return {is_range ? exit_status::usage : exit, action + ": " + words.meaning + " (" + words.label() + ")", words.advice, status,
		words};
}

} // namespace flashctl
