// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

/// What `samplerinfo.tables` and `samplerinfo.results` compare with a record.
namespace validate {

/// All that the descriptors describe.
std::vector<std::string> tableLines();

/// A line for each output and question: a digest of the answers for each group of rows of random
/// inputs. Where `powf` is used there is a line with the numbers themselves for each of the first
/// rows.
std::vector<std::string> resultLines();
/// Fails unless these lines are the recorded ones, powers to the last place.
void expectRecorded(const std::vector<std::string>& lines);

}  // namespace validate
