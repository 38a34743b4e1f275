// SPDX-License-Identifier: MIT
#include "preview/scene/guarantees.h"

#include <algorithm>
#include <sstream>
#include <vector>

#include "outputs_txt.h"

namespace preview {

namespace {

using Row = std::vector<std::string>;

/// The rows of the data file that begin with a word, as words.
std::vector<Row> rowsOf(const std::string& first) {
  std::vector<Row> rows;
  std::istringstream lines(kOutputsTxt);
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line.substr(0, line.find('#')));
    Row row;
    for (std::string word; words >> word;) row.push_back(word);
    if (!row.empty() && row[0] == first) rows.push_back(row);
  }
  return rows;
}

const std::vector<Row>& outputRows() {
  static const std::vector<Row> kRows = rowsOf("output");
  return kRows;
}

}  // namespace

Guarantee guaranteeOf(const std::string& plugin, const std::string& output) {
  const std::string name = output.empty() ? plugin : plugin + "." + output;
  for (const Row& row : outputRows()) {
    if (row[1] == name || row[1] == plugin + ".*") return {row.at(2) == "yes", row.at(3)};
  }
  return {};
}

bool hasGuarantees(const std::string& plugin) {
  return std::ranges::any_of(outputRows(),
                             [&](const Row& row) { return row[1].starts_with(plugin + "."); });
}

std::string absentInput(const std::string& plugin, const std::string& input) {
  static const std::vector<Row> kRows = rowsOf("absent");
  const std::string name = plugin + "." + input;
  std::string text;
  bool isByOutput = false;
  for (const Row& row : kRows) {
    if (row[1] != name) continue;
    isByOutput = isByOutput || row.size() > 3 || row[2] == "output";
    if (row[2] == "output") continue;
    if (!text.empty()) text += " or ";
    for (const char c : row[2]) {
      text += c;
      if (c == ',') text += ' ';
    }
  }
  if (isByOutput) text.append(text.empty() ? "by the output" : ", by the output");
  return text;
}

}  // namespace preview
