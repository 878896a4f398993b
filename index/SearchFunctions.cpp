#include "index/SearchFunctions.h"

#include "index/LikePattern.h"

#include <algorithm>
#include <sqlite3.h>

namespace qm {

static std::string_view textOf(sqlite3_value *value)
{
    const auto *text = reinterpret_cast<const char *>(sqlite3_value_text(value));
    return text ? std::string_view(text, size_t(sqlite3_value_bytes(value))) : std::string_view();
}

// What was made of the first argument, which is the same for every row.
template<class Made, class Make>
static const Made &madeOnce(sqlite3_context *context, sqlite3_value *argument, Made &own, Make make)
{
    if (const void *kept = sqlite3_get_auxdata(context, 0))
        return *static_cast<const Made *>(kept);
    own = make(textOf(argument));
    sqlite3_set_auxdata(context, 0, new Made(own), [](void *kept) { delete static_cast<Made *>(kept); });
    return own;
}

static void like(sqlite3_context *context, int, sqlite3_value **arguments)
{
    sqlite3_value *pattern = arguments[0], *text = arguments[1];
    static const bool blobsNeverMatch = sqlite3_compileoption_used("LIKE_DOESNT_MATCH_BLOBS");
    if (blobsNeverMatch && (sqlite3_value_type(pattern) == SQLITE_BLOB || sqlite3_value_type(text) == SQLITE_BLOB))
        return sqlite3_result_int(context, 0);
    if (sqlite3_value_bytes(pattern) >
        sqlite3_limit(sqlite3_context_db_handle(context), SQLITE_LIMIT_LIKE_PATTERN_LENGTH, -1))
        return sqlite3_result_error(context, "LIKE or GLOB pattern too complex", -1);
    if (sqlite3_value_type(pattern) == SQLITE_NULL || sqlite3_value_type(text) == SQLITE_NULL)
        return; // NULL
    LikePattern own{std::string_view()};
    const LikePattern &compiled =
        madeOnce(context, pattern, own, [](std::string_view utf8) { return LikePattern(utf8); });
    sqlite3_result_int(context, compiled.matches(textOf(text)));
}

using Words = std::vector<LikePattern>;

static Words wordsOf(std::string_view lines)
{
    Words words;
    while (!lines.empty()) {
        const size_t end = std::min(lines.find('\n'), lines.size());
        words.emplace_back('%' + std::string(lines.substr(0, end)) + '%');
        lines.remove_prefix(std::min(end + 1, lines.size()));
    }
    return words;
}

static void holdsWords(sqlite3_context *context, int, sqlite3_value **arguments)
{
    Words own;
    const Words &words = madeOnce(context, arguments[0], own, wordsOf);
    const std::string_view text = textOf(arguments[1]), name = textOf(arguments[2]);
    const bool all = std::all_of(words.begin(), words.end(),
                                 [&](const LikePattern &word) { return word.matches(text) || word.matches(name); });
    sqlite3_result_int(context, all);
}

void addSearchFunctions(sqlite3 *connection)
{
    constexpr int flags = SQLITE_UTF8 | SQLITE_DETERMINISTIC | SQLITE_INNOCUOUS;
    sqlite3_create_function(connection, "like", 2, flags, nullptr, like, nullptr, nullptr);
    sqlite3_create_function(connection, "holds_words", 3, flags, nullptr, holdsWords, nullptr, nullptr);
}

} // namespace qm
