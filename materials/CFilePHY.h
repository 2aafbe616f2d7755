#pragma once

#include "util/CPair.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QVector>

class QDataStream;

// The collision file beside a compiled model: a header, the solids as opaque blocks, and the
// text sections behind them (section name and key/value pairs). Only the text is understood.
class CFilePHY
{
public:
    using Pair_t = CPair<QString, QString>;
    using Section_t = CPair<QString, QVector<Pair_t>>;

    // Null on any failure, without a text. A line "break { ... }" of the text raises an
    // information box "break {" through CNotifier while the file loads.
    static CFilePHY *createFromStream(QDataStream &stream);
    static CFilePHY *createFromFile(const QString &path);

    // Big-endian, unlike the reader, and the sections in the stream's string form: a file
    // of this program's own making, not one the reader takes back.
    [[nodiscard]] bool saveFile(const QString &target);

    // Appends the break models of the "break" sections to found and follows what it can
    // read below root. See CReferenceScan.
    void listReferencedContent(QStringList &found, const QString &root, QString &key,
                               QString &value, QString &extra, QStringList *errors) const;

    QString path;
    QString lastError;
    qint32 headerSize = 0;
    qint32 id = 0;
    qint32 solidCount = 0;
    qint32 checksum = 0;
    QVector<QByteArray> solids;
    QVector<Section_t> sections;

private:
    [[nodiscard]] bool readSolids(QDataStream &stream);
    void readText(QDataStream &stream);
    void readBreakLine(const QString &line);
};
