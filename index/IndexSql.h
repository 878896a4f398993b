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

// The scan.
inline constexpr char knownPaths[] = "SELECT path FROM shots";
inline constexpr char deleteShot[] = "DELETE FROM shots WHERE path = ?"; // path
inline constexpr char insertShot[] =
    "INSERT OR IGNORE INTO shots(path, filename, bytes, mtime_ms, taken_at, indexed_at)\n"
    "VALUES(?, ?, ?, ?, ?, ?)";

// Text recognition.
inline constexpr char countWaiting[] = "SELECT COUNT(*) FROM shots WHERE ocr_done = 0";
inline constexpr char waiting[] =
    "SELECT id, path FROM shots WHERE ocr_done = 0 ORDER BY mtime_ms DESC LIMIT ?";             // limit
inline constexpr char leaveWaiting[] = "UPDATE shots SET ocr_done = 0 WHERE id = ?";            // id
inline constexpr char storeText[] = "UPDATE shots SET ocr_text = ?, ocr_done = 1 WHERE id = ?"; // text, id
inline constexpr char giveUp[] = "UPDATE shots SET ocr_done = 1 WHERE id = ?";                  // id

// The readers. Columns are those of Shot.
inline constexpr char searchShots[] = "SELECT id,path,filename,taken_at,ocr_text FROM shots WHERE ocr_text LIKE ? "
                                      "ORDER BY mtime_ms DESC LIMIT ?"; // pattern, limit
inline constexpr char recentShots[] = "SELECT id,path,filename,taken_at,ocr_text FROM shots "
                                      "ORDER BY mtime_ms DESC LIMIT ?"; // limit

// For inspecting the index.
inline constexpr char countShots[] = "SELECT COUNT(*) FROM shots";
inline constexpr char countRead[] = "SELECT COUNT(*) FROM shots WHERE ocr_text IS NOT NULL";

} // namespace qm::IndexSql
