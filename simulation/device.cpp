// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Linux's misc devices, as far as the one control device goes.
#include "kernel/device.h"

#include "simulation.hpp"

struct miscdevice {
	bool registered;
};

struct miscdevice misc_dev;

namespace simulation {

bool device_registered()
{
	state_guard guard;
	return misc_dev.registered;
}

void reset_device()
{
	state_guard guard;
	misc_dev.registered = false;
}

} // namespace simulation

using namespace simulation;

int misc_register(struct miscdevice *misc)
{
	if (auto forced = seen(call::misc_register, {misc}))
		return static_cast<int>(*forced);
	state_guard guard;

	if (misc != &misc_dev || misc->registered)
		misuse("misc_register(): not the control device, or registered already");
	misc->registered = true;
	return 0;
}

void misc_deregister(struct miscdevice *misc)
{
	if (seen(call::misc_deregister, {misc}))
		return;
	state_guard guard;

	if (misc != &misc_dev || !misc->registered)
		misuse("misc_deregister(): not the control device, or not registered");
	misc->registered = false;
}
