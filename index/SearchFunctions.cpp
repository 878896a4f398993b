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

// What was made of the first argument, which is the same for every row; null for the first one.
template<class Made>
static const Made *madeBefore(sqlite3_context *context)
{
    return static_cast<const Made *>(sqlite3_get_auxdata(context, 0));
}

template<class Made>
static void keep(sqlite3_context *context, const Made &made)
{
    sqlite3_set_auxdata(context, 0, new Made(made), [](void *kept) { delete static_cast<Made *>(kept); });
}

static void like(sqlite3_context *context, int, sqlite3_value **arguments)
{
    sqlite3_value *pattern = arguments[0], *text = arguments[1];
    static const bool blobsNeverMatch = sqlite3_compileoption_used("LIKE_DOESNT_MATCH_BLOBS");
    const int type = sqlite3_value_type(text);
    if (blobsNeverMatch && (sqlite3_value_type(pattern) == SQLITE_BLOB || type == SQLITE_BLOB))
        return sqlite3_result_int(context, 0);
    const auto *compiled = madeBefore<LikePattern>(context);
    if (!compiled && sqlite3_value_bytes(pattern) >
                         sqlite3_limit(sqlite3_context_db_handle(context), SQLITE_LIMIT_LIKE_PATTERN_LENGTH, -1))
        return sqlite3_result_error(context, "LIKE or GLOB pattern too complex", -1);
    if (type == SQLITE_NULL || (!compiled && sqlite3_value_type(pattern) == SQLITE_NULL))
        return; // NULL
    if (compiled)
        return sqlite3_result_int(context, compiled->matches(textOf(text)));
    const LikePattern made(textOf(pattern));
    keep(context, made);
    sqlite3_result_int(context, made.matches(textOf(text)));
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
    const Words *kept = madeBefore<Words>(context);
    const Words made = kept ? Words() : wordsOf(textOf(arguments[0]));
    if (!kept)
        keep(context, made);
    const Words &words = kept ? *kept : made;
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
