#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>

#include <functional>
#include <optional>

namespace qm {

class Database;

// Text recognition in batches: passes waiting pictures to the helper and stores the texts in the index. Runs on the
// database's queue, blocking it while the helper runs.
namespace OcrRunner {

inline constexpr int batchSize = 40; // pictures: a few minutes of work, after which the results are stored

// Maps a path (UTF-8) to its text; std::nullopt if the helper reported an error.
using Results = QHash<QByteArray, std::optional<QString>>;

// done: pictures the helper has answered so far, of total.
using Progress = std::function<void(int done, int total)>;

// Processes one batch of at most limit pictures, newest first. Returns how many received a text. Rows whose file is
// gone, or whose name the helper's input cannot carry, are marked as done without one. Also returns 0 if another process is running a batch, or if writing failed and
// was rolled back.
int run(Database &database, const std::optional<QString> &helper, int limit, const Progress &progress = {});

// True if another process is running a batch: run would return 0 at once.
bool isBusy(const Database &database);

// Parses the helper's output: one JSON object per line with "path" and either "text" or "error"; other lines are
// skipped.
Results parseNdjson(const QByteArray &output);

} // namespace OcrRunner
} // namespace qm
