// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Modules of the board, loaded as long as an object lives.
#pragma once

#include <string>
#include <vector>

namespace torture {

// Loads modules in the order given and unloads them in the opposite one. Throws where the kernel refuses.
class loaded_modules {
public:
	explicit loaded_modules(std::vector<std::string> names);
	loaded_modules(const loaded_modules &) = delete;
	loaded_modules &operator=(const loaded_modules &) = delete;
	~loaded_modules();

	// Unloads them now; one that is busy for a moment, as after a killed caller, is tried again.
	void unload();

private:
	std::vector<std::string> names_;
};

} // namespace torture
