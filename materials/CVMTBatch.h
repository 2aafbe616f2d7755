#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <functional>

// One change applied to a list of VMT files, one file after another: set the shader, add or
// remove a parameter, add or remove a proxy. Each file is read whole, changed with the line
// routines of VMTText and written back at once. The Mass VMT Editor is a window over this; the
// command-line tool runs it headless.
class CVMTBatch
{
public:
    // Fixed width, so that any number given for it is a value of the type.
    enum AddDataType_t : int { Shader = 0, Parameter = 1, Proxy = 2 };
    enum Status_t { Complete, Failed, Canceled };

    struct Entry_t
    {
        QString path; // absolute
        QString relativePath; // behind "/materials/", without extension; empty elsewhere
    };

    struct Options_t
    {
        AddDataType_t type = Shader;
        bool remove = false; // parameters and proxies only
        QString shader;
        // Adding: a "*" in the value stands for the value of asteriskKey in the same file, or
        // with an empty asteriskKey for the file's path relative to "/materials/". Removing: an
        // empty key removes every parameter, a value narrows the match.
        QString key;
        QString value;
        QString asteriskKey;
        // Removing: an empty name removes the whole Proxies block.
        QString proxyName;
        QStringList proxyKeys;
        QStringList proxyValues; // in step with proxyKeys
    };

    // A line for the log; errors are failures, the rest is information.
    using LogFunction = std::function<void(const QString &line, bool isError)>;
    // Called after each file with the number of files done; false stops the run there.
    using ProgressFunction = std::function<bool(int done)>;

    // The list entry for a chosen file. A ".vtf" stands for its ".vmt"; a material that does not
    // exist is created, as a LightmappedGeneric on the texture, when its path holds
    // "/materials/". False, with the line for the log, when there is no material to list.
    [[nodiscard]] static bool entryForPath(const QString &chosen, Entry_t &entry, QString &message);
    // The part of path behind its last "/materials/", without extension; empty without one.
    static QString relativePath(const QString &path);

    static Status_t run(const QList<Entry_t> &entries, const Options_t &options,
                        const LogFunction &log, const ProgressFunction &progress = {});

    // The change to one file's text. Returns the routine's warning, or null. unchanged is set
    // when the options leave this file alone (no value to put in place of "*").
    static const char *apply(QString &text, const Entry_t &entry, const Options_t &options,
                             bool &unchanged);
    // Drops the keyvalue lines above the Proxies line that match key (all when it is empty) and,
    // when value is not empty, value.
    static void removeParameters(QString &text, const QString &key, const QString &value);
    // The value of the first keyvalue line with the key, looked for above the Proxies line.
    [[nodiscard]] static bool findValue(const QString &text, const QString &key, QString &value);

private:
    static void runFile(const Entry_t &entry, const Options_t &options, const LogFunction &log);
};
