// SPDX-License-Identifier: GPL-3.0-or-later
// Pages of real drives and what another program reads in them. They are not a part of the project;
// TRX_REAL_DATA names their directory. Tests that want them are skipped without it.
#ifndef TRX_TESTS_REAL_DATA_H
#define TRX_TESTS_REAL_DATA_H

#include <cstdlib>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "SimHost.h"

namespace trx::test {

inline std::filesystem::path realData(const char *name) {
  const char *directory = std::getenv("TRX_REAL_DATA");
  return directory ? std::filesystem::path(directory) / name : "";
}

inline nlohmann::json readJson(const std::filesystem::path &path) {
  return nlohmann::json::parse(readFile(path));
}

/// The record at the beginning of a file.
template <typename Record>
Record readRecord(const std::filesystem::path &path) {
  Record record{};
  readFile(path).copy(reinterpret_cast<char *>(&record), sizeof record);
  return record;
}

}  // namespace trx::test

#endif  // TRX_TESTS_REAL_DATA_H
