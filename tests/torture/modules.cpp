// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "modules.hpp"

#include <cstdio>
#include <cstring>
#include <stdexcept>

#include "lab_device.hpp"

namespace torture {

loaded_modules::loaded_modules(std::vector<std::string> names)
{
	for (std::string &name : names) {
		if (const int error = guest::insert_module(guest::module_file(name)))
			throw std::runtime_error(name + " does not load: " + std::strerror(error));
		names_.push_back(std::move(name));
	}
}

void loaded_modules::unload()
{
	while (!names_.empty()) {
		const std::string name = names_.back();
		names_.pop_back();
		if (const int error = guest::remove_module_patiently(name))
			throw std::runtime_error(name + " does not unload: " + std::strerror(error));
	}
}

loaded_modules::~loaded_modules()
{
	try {
		unload();
	} catch (const std::exception &failure) {
		std::printf("%s\n", failure.what());
	}
}

} // namespace torture
