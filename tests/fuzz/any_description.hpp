// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The platform module "xml_parser" as it must not be: whatever it is asked, the bytes of an input answer. Counts that are no list's
// length, names without an end, numbers of any size, failures that have written something. When the input is over every question fails.
#pragma once

#include "input.hpp"

namespace fuzz {

// Answers as long as it lives; one at a time.
class any_description {
public:
	explicit any_description(input answers);
	any_description(const any_description &) = delete;
	any_description &operator=(const any_description &) = delete;
	~any_description();
};

} // namespace fuzz
