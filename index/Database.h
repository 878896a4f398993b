#pragma once

#include <QByteArray>
#include <QString>

#include <memory>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace qm {

// A prepared statement, finalised on destruction. One that failed to prepare is inert: binding and running do nothing,
// and there are no rows. Used on the thread that owns its Database.
class Statement
{
public:
    Statement() = default;

    // Parameters count from 1. Texts are copied, up to their first NUL.
    void bind(int parameter, const char *utf8);
    void bind(int parameter, const QString &text);
    void bind(int parameter, const QByteArray &blob);
    void bind(int parameter, qint64 number);
    void bind(int parameter, int number);

    // Runs a write and resets the statement for the next one. False if the database refused it (busy, full, read-only),
    // which its error() then tells: the enclosing transaction should end. An inert statement counts as skipped, not refused.
    [[nodiscard]] bool run();

    bool nextRow();                // false at the end and on an error
    bool failed() const;           // the rows ended with an error, or could not be asked for
    bool isNull(int column) const; // columns count from 0
    qint64 int64(int column) const;
    std::string_view bytes(int column) const; // UTF-8, valid until the next row
    QString text(int column) const;           // "" for NULL
    QByteArray blob(int column) const;        // the same

private:
    friend class Database;
    struct Finalize {
        void operator()(sqlite3_stmt *statement) const;
    };
    std::unique_ptr<sqlite3_stmt, Finalize> m_statement;
    QString *m_error = nullptr; // the database's
    bool m_failed = false;
};

// One connection to the index file, confined to one queue by its owner. Failures are quiet: without a connection every
// statement is inert; error() tells the reason.
class Database
{
public:
    enum class Access { write, read };

    // The form of the index that this program writes, in SQLite's user_version. Raised only if an older program, which
    // may use the same file, would do harm to the new form: a further table is no reason.
    static constexpr int currentForm = 0;

    Database(QString path, Access access, int form = currentForm);

    // Opens the connection unless it is open. A writer creates folder, file and schema, and retries the schema if it
    // failed before (another process held the file); a reader never creates a file. An index of a newer form is refused
    // and left as it is; before an older one is given the current form, a copy is kept as "NAME.form0" (its number).
    // False if it cannot be used.
    bool open();
    bool isOpen() const { return m_connection != nullptr; } // connected, with or without its schema

    QString path() const { return m_path; }
    // The last failure in SQLite's words. Empty if there was none, or a transaction has succeeded since.
    QString error() const;

    Statement prepare(const char *sql);
    qint64 number(const char *sql); // first column of the first row; 0 if there is none
    bool execute(const char *sql);

private:
    friend class Transaction;
    struct Close {
        void operator()(sqlite3 *connection) const;
    };

    bool isOfNewerForm();
    bool bringToForm();

    QString m_path;
    Access m_access;
    int m_form;
    std::unique_ptr<sqlite3, Close> m_connection;
    bool m_schemaReady = false;
    QString m_error;
};

// BEGIN; rolled back at the end of its scope unless commit() succeeded. A failed COMMIT (a reader held the file beyond
// the busy time-out) leaves SQLite's transaction open; the rollback lets the next one begin.
class Transaction
{
public:
    explicit Transaction(Database &database);
    ~Transaction();
    Transaction(const Transaction &) = delete;
    Transaction &operator=(const Transaction &) = delete;

    bool commit();

private:
    Database &m_database;
};

} // namespace qm
