#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>

#include <functional>
#include <optional>

namespace qm {

class Database;

// Text recognition in batches: the pictures that wait go to the helper, its texts into the index.
// On the queue of the database, which it blocks while the helper runs.
namespace OcrRunner {

inline constexpr int batchSize = 40; // pictures: a few minutes' work, after which what was read is in the index

// Path (UTF-8) to its text, or to nothing where the helper reported an error.
using Results = QHash<QByteArray, std::optional<QString>>;

// done: pictures the helper has answered for, of total.
using Progress = std::function<void(int done, int total)>;

// One batch of at most limit pictures, newest first; the number that received a text. Rows whose file is gone are retired
// without one. 0 as well when another process has a batch in hand, or the writing failed and was rolled back.
int run(Database &database, const std::optional<QString> &helper, int limit, const Progress &progress = {});

// Whether another process has a batch in hand: run would give 0 at once.
bool isBusy(const Database &database);

// The helper's output: one JSON object a line with "path" and either "text" or "error"; other lines are skipped.
Results parseNdjson(const QByteArray &output);

} // namespace OcrRunner
} // namespace qm
