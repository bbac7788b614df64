#ifndef TESTS_PRG_XML_XPATH_PROCESSOR_TRANSLATION_TABLE_H
#define TESTS_PRG_XML_XPATH_PROCESSOR_TRANSLATION_TABLE_H

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

// One entry of translation_table.txt; the file says what its lines mean.
struct TranslationEntry {
    int line = 0;  // of "request", from 1
    std::string request;
    std::vector<std::pair<int, std::string>> failures;  // command, message
    std::vector<std::pair<int, std::int32_t>> records;  // FIND, records
    bool saveFails = false;
    std::vector<std::string> trace;
    bool raises = false;
    std::string message;      // when it raises
    std::int32_t number = 0;  // of the result, when it does not
    std::int32_t recordCount = 0;
};

// Reads the table. Throws std::runtime_error with file and line for a line that means nothing and
// for an entry without a result.
std::vector<TranslationEntry> readTranslationTable(const std::string &path);

#endif
