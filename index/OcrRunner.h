#pragma once

#include "index/TextBoxes.h"

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

struct Answer {
    std::optional<QString> text;
    std::optional<TextBoxes> boxes; // absent also if they do not fit the text
    QString error;                  // the helper's reason if there is no text
};
using Results = QHash<QByteArray, Answer>; // by path, UTF-8

// done: pictures the helper has answered so far, of total.
using Progress = std::function<void(int done, int total)>;

struct Batch {
    enum class Trouble { none, helper, write };

    int read = 0;   // pictures that received a text
    int failed = 0; // that cannot be read; the reasons are in the index
    Trouble trouble = Trouble::none;
    QString reason; // of the trouble, in the helper's or SQLite's words
};

// Processes one batch of at most limit pictures, newest first, those that failed before last. Rows whose file is gone, or
// whose name the helper's input cannot carry, are marked as done without a text. An empty batch, without trouble, if
// there is no helper or another process is running a batch. If writing fails, all of the batch is rolled back.
Batch run(Database &database, const std::optional<QString> &helper, int limit, const Progress &progress = {});

// Reads a picture again that has been read before, and replaces its text and boxes. Nothing changes if it cannot be read.
void readAgain(Database &database, const std::optional<QString> &helper, qint64 id);

// Reads a picture that is not in the index; a text or an error. Any thread but the main one; blocks while the helper runs.
Answer readPicture(const QString &helper, const QString &path);

// True if another process is running a batch: run would return at once.
bool isBusy(const Database &database);

// Parses the helper's output: one JSON object per line with "path" and either "text" or "error"; other lines are
// skipped.
Results parseNdjson(const QByteArray &output);

} // namespace OcrRunner
} // namespace qm
