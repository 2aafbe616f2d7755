#include "packages/VPackagePropertiesDialog.h"

#include "packages/CDelegateBSP.h"
#include "packages/CDelegateGCF.h"
#include "packages/CDelegateNCF.h"
#include "packages/CDelegateVPK.h"
#include "packages/CPackageHierarchyNode.h"
#include "util/UtilPath.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QVBoxLayout>

VPackagePropertiesDialog::VPackagePropertiesDialog(QWidget *parent)
    : QDialog(parent)
{
    setWindowTitle(QStringLiteral("Properties"));
    setWindowIcon(QIcon(QStringLiteral(":/resources/icons/report.png")));
    auto *layout = new QVBoxLayout(this);
    form = new QFormLayout();
    layout->addLayout(form);
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    layout->addWidget(buttons);
    layout->setSizeConstraint(QLayout::SetFixedSize);
}

void VPackagePropertiesDialog::setRows(const QList<Row> &rows)
{
    while (form->rowCount() > 0)
        form->removeRow(0);
    for (const Row &row : rows) {
        auto *value = new QLabel(row.second, this);
        value->setTextInteractionFlags(Qt::TextSelectableByMouse);
        form->addRow(row.first, value);
    }
    currentRows = rows;
}

QString VPackagePropertiesDialog::valueOf(const QString &label) const
{
    for (const Row &row : currentRows) {
        if (row.first == label)
            return row.second;
    }
    return QString();
}

namespace {
QString hex(quint64 value, int digits = 8)
{
    return QStringLiteral("0x") + QString::number(value, 16).toUpper().rightJustified(digits, '0');
}

QString yesNo(bool value)
{
    return value ? QStringLiteral("True") : QStringLiteral("False");
}

void addCacheFlags(QList<VPackagePropertiesDialog::Row> &rows, const CDelegateNCF *cache,
                   const CPackageHierarchyNode *node)
{
    const CCacheDirectory::Entry_t *entry
        = node->index < 0 ? nullptr : cache->getDirectoryEntry(unsigned(node->index));
    if (!entry)
        return;
    const quint32 flags = entry->directoryFlags;
    const bool localCopy = flags & CCacheDirectory::FlagMakeLocalCopy;
    rows.append({ QStringLiteral("Flags:"), hex(flags) });
    rows.append({ QStringLiteral("Encrypted:"), yesNo(flags & CCacheDirectory::FlagEncrypted) });
    rows.append({ QStringLiteral("Make Local Copy:"), yesNo(localCopy) });
    rows.append({ QStringLiteral("Overwrite Local Copy:"),
                  yesNo(localCopy && !(flags & CCacheDirectory::FlagOverwriteLocalCopy)) });
    rows.append({ QStringLiteral("Backup Local Copy:"),
                  yesNo(flags & CCacheDirectory::FlagBackupLocalCopy) });
}
} // namespace

QList<VPackagePropertiesDialog::Row>
VPackagePropertiesDialog::rowsForNode(const IPackageDelegate *delegate,
                                      const CPackageHierarchyNode *node)
{
    QList<Row> rows;
    if (!delegate || !node)
        return rows;
    const bool isDirectory = node->isBranch();
    if (isDirectory) {
        rows.append({ QStringLiteral("Type:"), QStringLiteral("Folder") });
    } else {
        const QString extension = UTIL_getFileExtension(*node, false).toUpper();
        rows.append(
            { QStringLiteral("Type:"),
              extension.isEmpty() ? QStringLiteral("File") : extension + QStringLiteral(" File") });
    }
    rows.append({ QStringLiteral("Path:"),
                  node->getParent() ? QStringLiteral(".../") + node->getPath(true)
                                    : QStringLiteral("...") });
    CPackageHierarchyNode *mutableNode = const_cast<CPackageHierarchyNode *>(node);
    if (isDirectory) {
        const quint64 pair = delegate->getPackageFileSizePairByNode(mutableNode);
        rows.append({ QStringLiteral("Size:"),
                      QString::number(delegate->getFileSizeByNode(mutableNode))
                          + QStringLiteral(" Bytes") });
        rows.append({ QStringLiteral("Size On Disk:"),
                      QString::number(pair >> 32) + QStringLiteral(" Bytes") });
        rows.append({ QStringLiteral("Contents:"),
                      QStringLiteral("%1 Folder(s), %2 File(s)")
                          .arg(node->getSubNodeCount())
                          .arg(node->getSubLeafCount()) });
    } else {
        rows.append({ QStringLiteral("Size:"),
                      QString::number(delegate->getFileSizeByNode(mutableNode))
                          + QStringLiteral(" Bytes") });
        rows.append({ QStringLiteral("Size On Disk:"),
                      QString::number(delegate->getPackageFileSizeOnDiskByNode(mutableNode))
                          + QStringLiteral(" Bytes") });
    }

    const int index = node->index;
    switch (delegate->getPackageType()) {
    case 1: {
        auto *bsp = static_cast<const CDelegateBSP *>(delegate);
        if (isDirectory || index < 0)
            break;
        if (index < CDelegateBSP::Lump_Count) {
            const auto lump = CDelegateBSP::Lump_t(index);
            rows.append({ QStringLiteral("Offset:"),
                          hex(bsp->getLumpInfo(lump, CDelegateBSP::LumpField_Offset)) });
            rows.append({ QStringLiteral("Version:"),
                          hex(bsp->getLumpInfo(lump, CDelegateBSP::LumpField_Version)) });
            rows.append({ QStringLiteral("FourCC:"),
                          hex(bsp->getLumpInfo(lump, CDelegateBSP::LumpField_FourCC)) });
        } else if (const ZIPEntry_t *entry = bsp->getPakfileEntry(unsigned(index))) {
            rows.append(
                { QStringLiteral("Local Header Offset:"), hex(entry->second.localHeaderOffset) });
            rows.append({ QStringLiteral("CRC:"), hex(entry->second.crc32) });
        }
        break;
    }
    case 2: {
        auto *gcf = static_cast<const CDelegateGCF *>(delegate);
        rows.append(
            { QStringLiteral("Fragmentation:"),
              QString::number(gcf->getFragmentationByNode(node), 'f', 4) + QLatin1Char('%') });
        addCacheFlags(rows, gcf, node);
        break;
    }
    case 3:
        addCacheFlags(rows, static_cast<const CDelegateNCF *>(delegate), node);
        break;
    case 4: {
        auto *vpk = static_cast<const CDelegateVPK *>(delegate);
        const CVPKDirectory::Entry_t *entry
            = (isDirectory || index < 0) ? nullptr : vpk->getEntryByIndex(unsigned(index));
        if (!entry)
            break;
        rows.append({ QStringLiteral("Preload Bytes:"), QString::number(entry->preloadBytes) });
        rows.append({ QStringLiteral("Archive:"),
                      entry->archiveIndex == CVPKDirectory::directoryArchive
                          ? QStringLiteral("(Directory)")
                          : QString::number(entry->archiveIndex) });
        rows.append({ QStringLiteral("CRC:"), hex(entry->crc) });
        break;
    }
    default:
        break;
    }
    return rows;
}
