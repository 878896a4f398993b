#pragma once

// Every statement run against the index, in one place, followed by a list of its parameters.
namespace qm::IndexSql {

inline constexpr char schema[] = "CREATE TABLE IF NOT EXISTS shots (\n"
                                 "  id INTEGER PRIMARY KEY AUTOINCREMENT,\n"
                                 "  path TEXT UNIQUE NOT NULL,\n"
                                 "  filename TEXT NOT NULL,\n"
                                 "  bytes INTEGER,\n"
                                 "  mtime_ms INTEGER,\n"
                                 "  taken_at TEXT,\n"
                                 "  ocr_text TEXT,\n"
                                 "  ocr_done INTEGER NOT NULL DEFAULT 0,\n"
                                 "  indexed_at TEXT NOT NULL\n"
                                 ");\n"
                                 "CREATE INDEX IF NOT EXISTS idx_shots_mtime ON shots(mtime_ms DESC);";

// Why a picture that is still waiting could not be read the last time. A table of its own: older programs, which share
// the file, know nothing of it and are not disturbed.
inline constexpr char failuresSchema[] = "CREATE TABLE IF NOT EXISTS shot_failures (\n"
                                         "  shot_id INTEGER PRIMARY KEY,\n"
                                         "  reason TEXT NOT NULL,\n"
                                         "  since_ms INTEGER NOT NULL\n"
                                         ");";

// Where the words of a text stand in its picture, as TextBoxes packs it; a shot that was read by an older program has
// none. A table of its own, as the searches need not read past it.
inline constexpr char boxesSchema[] = "CREATE TABLE IF NOT EXISTS shot_boxes (\n"
                                      "  shot_id INTEGER PRIMARY KEY,\n"
                                      "  boxes BLOB NOT NULL\n"
                                      ");";

// Of pictures without a text only. Every minute it is asked whether there are any, which without this means walking past the
// texts of all others: half of what such a minute costs at a hundred thousand. Older programs keep it up as well.
inline constexpr char waitingIndex[] =
    "CREATE INDEX IF NOT EXISTS idx_shots_waiting ON shots(mtime_ms DESC) WHERE ocr_done = 0;";

// The scan.
inline constexpr char knownPaths[] = "SELECT path FROM shots";
inline constexpr char deleteShot[] = "DELETE FROM shots WHERE path = ?"; // path
inline constexpr char deleteBoxes[] =
    "DELETE FROM shot_boxes WHERE shot_id = (SELECT id FROM shots WHERE path = ?)"; // path, before its shot
inline constexpr char insertShot[] =
    "INSERT OR IGNORE INTO shots(path, filename, bytes, mtime_ms, taken_at, indexed_at)\n"
    "VALUES(?, ?, ?, ?, ?, ?)";

// Whether known files have changed. Columns: id, path, bytes, mtime_ms.
inline constexpr char newestFiles[] =
    "SELECT id, path, bytes, mtime_ms FROM shots ORDER BY mtime_ms DESC LIMIT ?"; // limit
inline constexpr char failedFiles[] =
    "SELECT id, path, bytes, mtime_ms FROM shots WHERE id IN (SELECT shot_id FROM shot_failures)";
inline constexpr char namedFile[] = "SELECT id, path, bytes, mtime_ms FROM shots WHERE path = ?"; // path
inline constexpr char filesAfter[] =
    "SELECT id, path, bytes, mtime_ms FROM shots WHERE id > ? ORDER BY id LIMIT ?"; // id, limit
inline constexpr char largestId[] = "SELECT MAX(id) FROM shots";
// The text stays until the file is read again if only the time differs, as on a FAT drive when the clocks change. A file
// of another size shows something else, which may be less on purpose: its old words must not find it any more.
inline constexpr char fileChanged[] =
    "UPDATE shots SET ocr_text = CASE WHEN bytes = ?1 THEN ocr_text END, ocr_done = 0, "
    "bytes = ?1, mtime_ms = ?2, taken_at = ?3 WHERE id = ?4"; // bytes, mtime_ms, taken_at, id

// Text recognition.
inline constexpr char countWaiting[] = "SELECT COUNT(*) FROM shots WHERE ocr_done = 0";
// Those that failed come last: forty of them would otherwise keep all others waiting for ever.
inline constexpr char waiting[] = "SELECT id, path FROM shots WHERE ocr_done = 0 "
                                  "ORDER BY id IN (SELECT shot_id FROM shot_failures), mtime_ms DESC LIMIT ?"; // limit
// Whether anything can be written: there and back, whatever the row says.
inline constexpr char tryThere[] = "UPDATE shots SET ocr_done = ocr_done + 2 WHERE id = ?"; // id
inline constexpr char tryBack[] = "UPDATE shots SET ocr_done = ocr_done - 2 WHERE id = ?";  // id
// A shot that was forgotten while it was being read stays so: done, and without a text.
inline constexpr char storeText[] = "UPDATE shots SET ocr_text = ?, ocr_done = 1 "
                                    "WHERE id = ? AND (ocr_done = 0 OR ocr_text IS NOT NULL)"; // text, id
inline constexpr char giveUp[] = "UPDATE shots SET ocr_done = 1 WHERE id = ?";                 // id
inline constexpr char recordFailure[] =
    "INSERT INTO shot_failures(shot_id, reason, since_ms) VALUES(?1, ?2, ?3) "
    "ON CONFLICT(shot_id) DO UPDATE SET reason = ?2 WHERE reason <> ?2"; // id, reason, milliseconds since 1970
inline constexpr char storeBoxes[] =
    "INSERT OR REPLACE INTO shot_boxes(shot_id, boxes) "
    "SELECT id, ?2 FROM shots WHERE id = ?1 AND (ocr_done = 0 OR ocr_text IS NOT NULL)"; // id, boxes, before the text
inline constexpr char forgetBoxes[] = "DELETE FROM shot_boxes WHERE shot_id = ?";        // id
inline constexpr char readShot[] =
    "SELECT id, path FROM shots WHERE id = ? AND ocr_done = 1 AND ocr_text IS NOT NULL";            // id
inline constexpr char forgetFailure[] = "DELETE FROM shot_failures WHERE shot_id = ?";              // id
inline constexpr char sameName[] = "SELECT id, path FROM shots WHERE path = ? OR filename = ?";     // path, filename
inline constexpr char forgetText[] = "UPDATE shots SET ocr_text = NULL, ocr_done = 1 WHERE id = ?"; // id
inline constexpr char forgetFailuresOfGone[] = "DELETE FROM shot_failures WHERE shot_id NOT IN (SELECT id FROM shots)";

// The readers. Columns are those of Shot.
inline constexpr char searchShots[] = "SELECT id,path,filename,taken_at,ocr_text FROM shots WHERE ocr_text LIKE ? "
                                      "ORDER BY mtime_ms DESC LIMIT ?"; // pattern, limit
// holds_words is a function of our connections: each of the words, a line each, is in one of the other two.
inline constexpr char searchWords[] = "SELECT id,path,filename,taken_at,ocr_text FROM shots "
                                      "WHERE holds_words(?, ocr_text, filename) "
                                      "ORDER BY mtime_ms DESC LIMIT ?"; // words, limit
inline constexpr char recentShots[] = "SELECT id,path,filename,taken_at,ocr_text FROM shots "
                                      "ORDER BY mtime_ms DESC LIMIT ?"; // limit

// Columns: boxes, ocr_text, path, bytes, mtime_ms.
inline constexpr char boxesOf[] = "SELECT boxes, ocr_text, path, bytes, mtime_ms FROM shots "
                                  "LEFT JOIN shot_boxes ON shot_id = id WHERE id = ?"; // id

// For inspecting the index.
inline constexpr char countShots[] = "SELECT COUNT(*) FROM shots";
inline constexpr char countRead[] = "SELECT COUNT(*) FROM shots WHERE ocr_text IS NOT NULL";
inline constexpr char countFailed[] =
    "SELECT COUNT(*) FROM shot_failures JOIN shots ON id = shot_id WHERE ocr_done = 0";
// Columns: path, reason, since_ms.
inline constexpr char failures[] = "SELECT path, reason, since_ms FROM shot_failures JOIN shots ON id = shot_id "
                                   "WHERE ocr_done = 0 ORDER BY mtime_ms DESC";

} // namespace qm::IndexSql
