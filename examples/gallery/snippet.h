// Complete programs for readers to copy.
#pragma once

#include <string>
#include <vector>

#include "stage.h"

namespace gallery {

// The text of a call, which has lost its line breaks, with a line for each statement.
std::string laidOut(const std::string& code);

// The library's functions that an entry's calls mention.
std::vector<std::string> functionsOf(const Stage& stage);

// A program that does what an entry does, to images that are still to be filled.
std::string programOf(const Entry& entry, const Stage& stage);

}  // namespace gallery
