#pragma once

#include <string>
#include <vector>

namespace osql {

// The text of a script file: UTF-16 (with its byte-order mark) becomes UTF-8, a UTF-8 mark is
// dropped, anything else is taken as it stands.
std::string decodeScript(const std::string& bytes);

// One batch of a script and the script line it starts on (1-based).
struct Batch {
    std::string text;
    int firstLine = 1;
};

// The batches of a script: a line that holds only "GO" (any case, blanks around it) ends one;
// batches with nothing but blanks are left out.
std::vector<Batch> splitBatches(const std::string& script);

} // namespace osql
