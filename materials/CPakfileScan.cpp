#include "materials/CPakfileScan.h"

#include "materials/CPakfileScanRun.h"
#include "packages/CDelegateBSP.h"
#include "util/UtilPath.h"

#include <QFileInfo>

QString CPakfileScan::optionLabel(int bit)
{
    static const char *const labels[OptionCount] = { "Materials (Packed)",
                                                     "Models (Packed)",
                                                     "Physics (Packed)",
                                                     "Materials",
                                                     "Skybox",
                                                     "Detailsprites",
                                                     "Models",
                                                     "Sounds",
                                                     "Scenes",
                                                     "Particles",
                                                     "Static Props",
                                                     "Special Files",
                                                     "Map Specific Files" };
    return bit >= 0 && bit < OptionCount ? QString::fromLatin1(labels[bit]) : QString();
}

CPakfileScan::RowState_t CPakfileScan::rowState(bool onDisk, bool marked, bool inPackage)
{
    if (!onDisk)
        return inPackage ? PackedNotOnDisk : Missing;
    if (marked)
        return inPackage ? Replace : Add;
    return inPackage ? Packed : OnDisk;
}

QColor CPakfileScan::stateColour(RowState_t state)
{
    switch (state) {
    case Replace:
        return QColor(255, 255, 192);
    case Add:
        return QColor(192, 255, 192);
    case Packed:
        return QColor(192, 255, 255);
    case OnDisk:
        return QColor(255, 224, 192);
    case PackedNotOnDisk:
        return QColor(192, 192, 255);
    case Missing:
        break;
    }
    return QColor(255, 192, 192);
}

QString CPakfileScan::stateName(RowState_t state)
{
    switch (state) {
    case Replace:
        return QStringLiteral("replace");
    case Add:
        return QStringLiteral("add");
    case Packed:
        return QStringLiteral("packed");
    case OnDisk:
        return QStringLiteral("on disk");
    case PackedNotOnDisk:
        return QStringLiteral("packed, not on disk");
    case Missing:
        break;
    }
    return QStringLiteral("missing");
}

QString CPakfileScan::normalizeContentDirectory(const QString &text)
{
    if (text.isEmpty())
        return QString();
    // The cleaning takes both slashes off; they go back on unconditionally.
    return QLatin1Char('/') + UTIL_cleanFilePath(text) + QLatin1Char('/');
}

bool CPakfileScan::existsOnDisk(const QString &contentDirectory, const QString &directoryColumn,
                                const QString &name)
{
    if (contentDirectory.isEmpty())
        return false;
    return QFileInfo::exists(contentDirectory + QLatin1Char('/') + directoryColumn
                             + QLatin1Char('/') + name);
}

QVector<CPakfileScan::Row_t> CPakfileScan::run(const Options_t &options, const Progress_t &progress)
{
    CPakfileScanRun scan(options, progress);
    return scan.run();
}

void CPakfileScan::markMissing(QVector<Row_t> &rows)
{
    for (Row_t &row : rows) {
        if (row.node && row.node->isDataInPackage())
            continue;
        if (row.onDisk)
            row.marked = true;
    }
}

CPakfileScan::ApplyResult_t CPakfileScan::apply(CDelegateBSP &map, const QString &contentDirectory,
                                                const QVector<Row_t> &rows,
                                                const std::function<void(int row)> &step)
{
    ApplyResult_t result;
    for (qsizetype r = 0; r < rows.size(); ++r) {
        const Row_t &row = rows.at(r);
        if (row.marked) {
            const QString packagePath
                = QLatin1Char('/') + row.directory + QLatin1Char('/') + row.name;
            const QString source = contentDirectory + QLatin1Char('/') + packagePath;
            CPackageHierarchyNode *node = map.fileAddFromDisk(packagePath, source, true);
            if (!node)
                result.errors.append(map.getLastError());
            else if (row.node)
                result.updated.append(node);
            else
                result.added.append(node);
        }
        if (step)
            step(int(r + 1));
    }
    return result;
}
