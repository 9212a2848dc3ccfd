/*
 * Results as a table, line by line, and as JSON.
 */
#pragma once

#include <string>
#include <vector>

#include "run.h"

void print_heading(const run_options &options);
void print_result(const road_result &result);
/* Throws std::runtime_error when the file cannot be written. */
void write_json(const std::string &file, const run_options &options, const std::vector<road_result> &results);
