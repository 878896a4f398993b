#include "index/Database.h"

#include "config/ConfigStore.h"
#include "index/IndexSql.h"
#include "index/SearchFunctions.h"

#include <QFile>
#include <QFileInfo>

#include <sqlite3.h>

namespace qm {

static constexpr int writerPatience = 3000; // ms
static constexpr int readerPatience = 2000; // ms

void Statement::Finalize::operator()(sqlite3_stmt *statement) const
{
    sqlite3_finalize(statement);
}

void Statement::bind(int parameter, const char *utf8)
{
    if (m_statement)
        sqlite3_bind_text(m_statement.get(), parameter, utf8, -1, SQLITE_TRANSIENT);
}

void Statement::bind(int parameter, const QString &text)
{
    bind(parameter, text.toUtf8().constData());
}

void Statement::bind(int parameter, const QByteArray &blob)
{
    if (m_statement)
        sqlite3_bind_blob(m_statement.get(), parameter, blob.constData(), int(blob.size()), SQLITE_TRANSIENT);
}

void Statement::bind(int parameter, qint64 number)
{
    if (m_statement)
        sqlite3_bind_int64(m_statement.get(), parameter, number);
}

void Statement::bind(int parameter, int number)
{
    if (m_statement)
        sqlite3_bind_int(m_statement.get(), parameter, number);
}

bool Statement::run()
{
    if (!m_statement)
        return true;
    const int result = sqlite3_step(m_statement.get());
    const bool done = result == SQLITE_DONE || result == SQLITE_ROW;
    if (!done)
        *m_error = QString::fromUtf8(sqlite3_errmsg(sqlite3_db_handle(m_statement.get())));
    sqlite3_reset(m_statement.get());
    return done;
}

bool Statement::nextRow()
{
    if (!m_statement)
        return false;
    const int result = sqlite3_step(m_statement.get());
    m_failed = result != SQLITE_ROW && result != SQLITE_DONE;
    if (m_failed)
        *m_error = QString::fromUtf8(sqlite3_errmsg(sqlite3_db_handle(m_statement.get())));
    return result == SQLITE_ROW;
}

bool Statement::failed() const
{
    return m_failed || !m_statement;
}

bool Statement::isNull(int column) const
{
    return sqlite3_column_type(m_statement.get(), column) == SQLITE_NULL;
}

qint64 Statement::int64(int column) const
{
    return sqlite3_column_int64(m_statement.get(), column);
}

std::string_view Statement::bytes(int column) const
{
    const auto *text = reinterpret_cast<const char *>(sqlite3_column_text(m_statement.get(), column));
    return text ? std::string_view(text, size_t(sqlite3_column_bytes(m_statement.get(), column))) : std::string_view();
}

QByteArray Statement::blob(int column) const
{
    const auto *bytes = static_cast<const char *>(sqlite3_column_blob(m_statement.get(), column));
    return QByteArray(bytes, bytes ? sqlite3_column_bytes(m_statement.get(), column) : 0);
}

QString Statement::text(int column) const
{
    const std::string_view utf8 = bytes(column);
    return QString::fromUtf8(utf8.data(), qsizetype(utf8.size()));
}

void Database::Close::operator()(sqlite3 *connection) const
{
    sqlite3_close_v2(connection); // waits for the connection's last statement
}

Database::Database(QString path, Access access, int form)
    : m_path(std::move(path))
    , m_access(access)
    , m_form(form)
{
}

// SQLite would create the file readable by everybody. The journal inherits the file's mode.
static void createPrivately(const QString &path)
{
    ConfigStore::createFolder(QFileInfo(path).path());
    QFile file(path);
    if (file.open(QIODevice::WriteOnly | QIODevice::NewOnly, QFile::ReadOwner | QFile::WriteOwner))
        file.close();
}

bool Database::open()
{
    if (!m_connection) {
        const bool writes = m_access == Access::write;
        if (writes)
            createPrivately(m_path);
        sqlite3 *connection = nullptr;
        const int flags = writes ? SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE : SQLITE_OPEN_READONLY;
        const int result = sqlite3_open_v2(m_path.toUtf8().constData(), &connection, flags, nullptr);
        std::unique_ptr<sqlite3, Close> opened(connection); // must be closed even if opening failed
        if (result != SQLITE_OK) {
            m_error = QString::fromUtf8(sqlite3_errstr(result));
            return false;
        }
        sqlite3_busy_timeout(connection, writes ? writerPatience : readerPatience);
        addSearchFunctions(connection);
        m_connection = std::move(opened);
        m_error.clear();
        if (isOfNewerForm())
            return false;
    }
    if (m_access == Access::write && !m_schemaReady) {
        m_schemaReady = bringToForm() && execute(IndexSql::schema) && execute(IndexSql::failuresSchema) &&
                        execute(IndexSql::boxesSchema);
        if (m_schemaReady && !execute(IndexSql::waitingIndex))
            m_error.clear(); // a full disk, or a file that can only be read, has to do without
    }
    return m_access == Access::read || m_schemaReady;
}

bool Database::isOfNewerForm()
{
    const qint64 form = number("PRAGMA user_version"); // 0 also if it cannot be read, which the next statement tells
    if (form <= m_form)
        return false;
    m_connection.reset();
    m_error = QStringLiteral("a newer version of Quillmere has written it (form %1; this version knows up to %2)")
                  .arg(form)
                  .arg(m_form);
    return true;
}

bool Database::bringToForm()
{
    const qint64 form = number("PRAGMA user_version");
    if (form == m_form)
        return true;
    if (number("SELECT COUNT(*) FROM sqlite_schema") > 0) {
        const QString copy = QStringLiteral("%1.form%2").arg(m_path).arg(form);
        QFile::remove(copy); // of an attempt that failed
        createPrivately(copy);
        Statement keep = prepare("VACUUM INTO ?"); // accepts an empty file
        keep.bind(1, copy);
        if (!keep.run())
            return false;
    }
    return execute(QByteArray("PRAGMA user_version = " + QByteArray::number(m_form)).constData());
}

QString Database::error() const
{
    return m_error;
}

Statement Database::prepare(const char *sql)
{
    Statement statement;
    if (!m_connection)
        return statement;
    sqlite3_stmt *prepared = nullptr;
    if (sqlite3_prepare_v2(m_connection.get(), sql, -1, &prepared, nullptr) == SQLITE_OK) {
        statement.m_statement.reset(prepared);
        statement.m_error = &m_error;
    } else {
        m_error = QString::fromUtf8(sqlite3_errmsg(m_connection.get()));
    }
    return statement;
}

qint64 Database::number(const char *sql)
{
    Statement statement = prepare(sql);
    return statement.nextRow() ? statement.int64(0) : 0;
}

bool Database::execute(const char *sql)
{
    if (!m_connection)
        return false;
    const bool done = sqlite3_exec(m_connection.get(), sql, nullptr, nullptr, nullptr) == SQLITE_OK;
    m_error = done ? QString() : QString::fromUtf8(sqlite3_errmsg(m_connection.get()));
    return done;
}

Transaction::Transaction(Database &database)
    : m_database(database)
{
    m_database.execute("BEGIN");
}

Transaction::~Transaction()
{
    // SQLite may have rolled back by itself (disk full, I/O error).
    sqlite3 *connection = m_database.m_connection.get();
    if (connection && !sqlite3_get_autocommit(connection))
        sqlite3_exec(connection, "ROLLBACK", nullptr, nullptr, nullptr);
}

bool Transaction::commit()
{
    return m_database.execute("COMMIT");
}

} // namespace qm
