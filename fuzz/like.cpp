// A libFuzzer target: our LIKE answers as SQLite's own does, whatever the pattern and the text, and what it finds in a text
// lies where it matches. The input is both, parted at a place that its first byte tells; some bytes of the text are made
// those of the pattern, as two that have nothing in common are dull, and of each kind of character that UTF-8 can spell.

#include "index/LikePattern.h"
#include "index/SearchFunctions.h"

#include <cstdlib>
#include <sqlite3.h>

using namespace qm;

static sqlite3_stmt *prepared(bool ours)
{
    sqlite3 *connection = nullptr;
    sqlite3_stmt *statement = nullptr;
    if (sqlite3_open(":memory:", &connection) != SQLITE_OK)
        std::abort();
    if (ours)
        addSearchFunctions(connection);
    if (sqlite3_prepare_v2(connection, "SELECT ?1 LIKE ?2", -1, &statement, nullptr) != SQLITE_OK)
        std::abort();
    return statement;
}

static int answer(sqlite3_stmt *statement, const std::string &text, const std::string &pattern)
{
    sqlite3_bind_text(statement, 1, text.data(), int(text.size()), SQLITE_STATIC);
    sqlite3_bind_text(statement, 2, pattern.data(), int(pattern.size()), SQLITE_STATIC);
    if (sqlite3_step(statement) != SQLITE_ROW)
        std::abort();
    const int result = sqlite3_column_int(statement, 0);
    sqlite3_reset(statement);
    return result;
}

static std::string spelt(const uint8_t *data, size_t size, const std::string &pattern)
{
    static const char *const pieces[] = {"a",
                                         "B",
                                         "_",
                                         "%",
                                         " ",
                                         "é",
                                         "の",
                                         "ノ",
                                         "紅葉",
                                         "😀",
                                         "\x80",
                                         "\xC1\x81",
                                         "\xE0\x82\xA9",
                                         "\xE3\x81",
                                         "\xED\xA0\x80",
                                         "\xEF\xBF\xBD",
                                         "\xEF\xBF\xBF",
                                         "\xF0\x80\x81\x82",
                                         "\xFF",
                                         "\xE3\x81\xAE\x80",
                                         "\xC2\xA9",
                                         "aaaaaaaaaaaaaaaa"};
    std::string text;
    for (size_t i = 0; i < size; ++i) {
        if (data[i] >= 0xC0 && i + 1 < size && !pattern.empty()) {
            ++i;
            text += pattern.substr(data[i] % pattern.size(), data[i] % 5);
        } else if (data[i] >= 0x80) {
            text += pieces[data[i] % std::size(pieces)];
        } else {
            text += char(data[i]);
        }
    }
    return text;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static sqlite3_stmt *const sqlites = prepared(false), *const ours = prepared(true);
    if (size < 2)
        return 0;
    const size_t parted = 1 + data[0] % (size - 1);
    const std::string pattern = spelt(data + 1, parted - 1, {});
    const std::string text = spelt(data + parted, size - parted, pattern);
    if (answer(sqlites, text, pattern) != answer(ours, text, pattern))
        std::abort();

    const std::string part = '%' + pattern.substr(0, pattern.find('\0')) + '%',
                      searched = text.substr(0, text.find('\0'));
    const auto found = LikePattern(part).find(searched);
    if (found &&
        (found->length == 0 || found->start + found->length > searched.size() || answer(sqlites, searched, part) != 1))
        std::abort();
    if (!found && part.find_first_not_of("%_") != std::string::npos && answer(sqlites, searched, part) == 1)
        std::abort();
    return 0;
}
