#include "materials/CVMTBatch.h"

#include "materials/VMTText.h"
#include "util/UtilText.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

namespace {

const QLatin1String MaterialsDir("/materials/");

QString quoted(const QString &path)
{
    return QLatin1Char('"') + path + QLatin1Char('"');
}

// Writes the text as Latin-1, the way it was read, so that no byte above 127 changes.
bool writeText(const QString &path, const QString &text)
{
    QSaveFile file(path);
    // A file in a folder that takes no new files can still be rewritten in place.
    file.setDirectWriteFallback(true);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    const QByteArray bytes = text.toLatin1();
    if (file.write(bytes) != bytes.size()) {
        file.cancelWriting();
        return false;
    }
    return file.commit();
}

} // namespace

QString CVMTBatch::relativePath(const QString &path)
{
    const qsizetype at = path.lastIndexOf(MaterialsDir, -1, Qt::CaseInsensitive);
    if (at < 0)
        return QString();
    QString relative = path.mid(at + MaterialsDir.size());
    const qsizetype dot = relative.lastIndexOf(QLatin1Char('.'));
    if (dot > relative.lastIndexOf(QLatin1Char('/')))
        relative.truncate(dot);
    return relative;
}

bool CVMTBatch::entryForPath(const QString &chosen, Entry_t &entry, QString &message)
{
    QString path = QFileInfo(chosen).absoluteFilePath();
    if (path.endsWith(QLatin1String(".vtf"), Qt::CaseInsensitive))
        path = path.left(path.size() - 4) + QLatin1String(".vmt");
    const bool underMaterials = path.contains(MaterialsDir, Qt::CaseInsensitive);
    if (!QFileInfo::exists(path)) {
        if (!underMaterials) {
            message = chosen
                + QLatin1String("\" not under a \"materials\" directory missing matching VMT.");
            return false;
        }
        const QString text = QLatin1String("\"LightmappedGeneric\"\n{\n\t\"$basetexture\" \"")
            + relativePath(path) + QLatin1String("\"\n}\n");
        if (!writeText(path, text)) {
            message = QLatin1String("Unable to create .vmt for ") + quoted(chosen);
            return false;
        }
    }
    entry.path = path;
    entry.relativePath = relativePath(path);
    return true;
}

void CVMTBatch::removeParameters(QString &text, const QString &key, const QString &value)
{
    QStringList lines = text.split(QLatin1Char('\n'));
    QStringList kept;
    kept.reserve(lines.size());
    QString lineKey;
    QString lineValue;
    qsizetype i = 0;
    for (; i < lines.size() && !VMTText::isProxiesLine(lines.at(i)); ++i) {
        const bool match = UTIL_getPart(lines.at(i), lineKey, lineValue)
            && (key.isEmpty() || (lineKey == key && (value.isEmpty() || lineValue == value)));
        if (!match)
            kept.append(lines.at(i));
    }
    if (kept.size() == i)
        return;
    kept.append(lines.mid(i));
    text = kept.join(QLatin1Char('\n'));
}

bool CVMTBatch::findValue(const QString &text, const QString &key, QString &value)
{
    QString lineKey;
    QString lineValue;
    for (QStringView line : QStringView(text).tokenize(u'\n')) {
        const QString trimmed = line.trimmed().toString();
        if (trimmed == QLatin1String("Proxies") || trimmed == QLatin1String("\"Proxies\""))
            return false;
        if (UTIL_getPart(trimmed, lineKey, lineValue) && lineKey == key) {
            value = lineValue;
            return true;
        }
    }
    return false;
}

const char *CVMTBatch::apply(QString &text, const Entry_t &entry, const Options_t &options,
                             bool &unchanged)
{
    unchanged = false;
    switch (options.type) {
    case Shader:
        return VMTText::addShader(text, options.shader);
    case Parameter: {
        if (options.remove) {
            removeParameters(text, options.key, options.value);
            return nullptr;
        }
        QString value = options.value;
        if (value.contains(QLatin1Char('*'))) {
            QString replacement = entry.relativePath;
            if (!options.asteriskKey.isEmpty()
                && !findValue(text, options.asteriskKey, replacement)) {
                unchanged = true;
                return nullptr;
            }
            value.replace(QLatin1Char('*'), replacement);
        }
        return VMTText::addParameter(text, options.key, value);
    }
    case Proxy:
        if (options.remove)
            VMTText::removeProxy(text, options.proxyName);
        else if (!options.proxyName.isEmpty())
            return VMTText::addProxy(text, options.proxyName, options.proxyKeys,
                                     &options.proxyValues);
        return nullptr;
    }
    return nullptr;
}

void CVMTBatch::runFile(const Entry_t &entry, const Options_t &options, const LogFunction &log)
{
    QFile file(entry.path);
    if (!file.open(QIODevice::ReadOnly)) {
        log(QLatin1String("Unable to read from ") + quoted(entry.path), true);
        return;
    }
    const QByteArray bytes = file.readAll();
    const bool readFailed = file.error() != QFileDevice::NoError;
    file.close();
    if (readFailed) {
        log(QLatin1String("Unable to read from ") + quoted(entry.path), true);
        return;
    }
    // Read as text: carriage returns go, so that a CRLF material has the line shapes the
    // routines look for.
    QString original = QString::fromLatin1(bytes);
    original.remove(QLatin1Char('\r'));
    QString text = original;
    bool unchanged = false;
    if (const char *warning = apply(text, entry, options, unchanged))
        log(quoted(entry.path) + QLatin1String(": ") + QLatin1String(warning), true);
    if (unchanged) {
        log(quoted(entry.path) + QLatin1String(": no \"") + options.asteriskKey
                + QLatin1String("\" value to put in place of \"*\"; no parameter added."),
            true);
    }
    // A file that the change leaves as it was keeps its bytes, line ends included.
    if (text == original)
        return;
    if (!writeText(entry.path, text))
        log(QLatin1String("Unable to write to ") + quoted(entry.path), true);
}

CVMTBatch::Status_t CVMTBatch::run(const QList<Entry_t> &entries, const Options_t &options,
                                   const LogFunction &log, const ProgressFunction &progress)
{
    const bool removable = options.type == Parameter || options.type == Proxy;
    if ((options.type != Shader && !removable) || (options.remove && !removable)) {
        log(QStringLiteral("Invalid datatype specified for mass VMT editing."), true);
        return Failed;
    }
    for (qsizetype i = 0; i < entries.size(); ++i) {
        runFile(entries.at(i), options, log);
        if (progress && !progress(int(i + 1)))
            return Canceled;
    }
    return Complete;
}
