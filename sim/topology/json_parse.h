// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include <nlohmann/json_fwd.hpp>

namespace sim {

/// Reads JSON in which no object has a word twice. Throws HostError with the place.
nlohmann::json parseJson(const std::string &text);

/// What was read from a file, as a part of one line for a person.
std::string printable(std::string text);

}  // namespace sim
