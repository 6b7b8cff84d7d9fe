// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
// A walk over the text of a board description, tag by tag: for what the parser of the tree lets pass, and for the places of attributes.
#pragma once

namespace flash_board {

class document;

// Adds what it finds, and the places of all attributes, to the document. False when the text cannot be taken for a tree.
bool scan_text(document &of);

} // namespace flash_board
