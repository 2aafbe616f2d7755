// VPakfile, third part: the page of the dependency scan.
#include "materials/VPakfile.h"

#include "app/ZIRK.h"
#include "materials/VPakfileScanOptions.h"
#include "materials/VScanTableWidgetItem.h"
#include "packages/CDelegateBSP.h"
#include "util/QProgressDialogger.h"
#include "util/UtilWidgets.h"

#include <QElapsedTimer>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QProgressDialog>
#include <QPushButton>
#include <QStackedWidget>
#include <QTableWidget>
#include <QVBoxLayout>

namespace {

// One chip of the colour legend under the scan table.
QLabel *legendChip(CPakfileScan::RowState_t state, const QString &text)
{
    auto *chip = new QLabel(text);
    const QColor colour = CPakfileScan::stateColour(state);
    chip->setStyleSheet(QStringLiteral("QLabel { background: %1; color: black; padding: 1px 6px; "
                                       "border: 1px solid #a0a0a0; }")
                            .arg(colour.name()));
    return chip;
}

} // namespace

QWidget *VPakfile::createScanPage()
{
    gameDirectory = new QLineEdit;
    gameDirectory->setObjectName(QStringLiteral("scanDirectory"));
    gameDirectory->setPlaceholderText(QStringLiteral("The game's or mod's content folder"));
    browseButton = makeButton(QStringLiteral("Browse"), "scanBrowse", "folder_explore");
    optionsButton = makeButton(QStringLiteral("Options"), "scanOptions", "cog");
    startScanButton = makeButton(QStringLiteral("Scan"), "scanScan", "magnifier");
    connect(browseButton, &QPushButton::clicked, this, &VPakfile::pakScanBrowse);
    connect(optionsButton, &QPushButton::clicked, this, &VPakfile::pakScanOptions);
    connect(startScanButton, &QPushButton::clicked, this, &VPakfile::pakScanScan);
    connect(gameDirectory, &QLineEdit::returnPressed, this, &VPakfile::pakScanScan);

    auto *top = new QHBoxLayout;
    auto *label = new QLabel(QStringLiteral("Game Directory"));
    label->setBuddy(gameDirectory);
    top->addWidget(label);
    top->addWidget(gameDirectory, 1);
    top->addWidget(browseButton);
    top->addWidget(optionsButton);
    top->addWidget(startScanButton);

    scanTable = createTable("scanTable");
    connect(scanTable->horizontalHeader(), &QHeaderView::sectionClicked, this,
            &VPakfile::scanTableHeaderClicked);

    QPushButton *add = makeButton(QStringLiteral("Add"), "scanAdd", "add");
    QPushButton *remove = makeButton(QStringLiteral("Remove"), "scanRemove", "delete");
    QPushButton *automatic = makeButton(QStringLiteral("Auto"), "scanAuto", "wand");
    QPushButton *apply = makeButton(QStringLiteral("Apply"), "scanApply", "accept");
    QPushButton *cancel = makeButton(QStringLiteral("Cancel"), "scanCancel", "cancel");
    add->setToolTip(QStringLiteral("Mark the selected files that are on disk"));
    remove->setToolTip(QStringLiteral("Unmark the selected files"));
    automatic->setToolTip(QStringLiteral("Mark every file on disk that the pakfile lacks"));
    apply->setToolTip(QStringLiteral("Add the marked files to the pakfile"));
    connect(add, &QPushButton::clicked, this, &VPakfile::pakScanAdd);
    connect(remove, &QPushButton::clicked, this, &VPakfile::pakScanRemove);
    connect(automatic, &QPushButton::clicked, this, &VPakfile::pakScanAddMissing);
    connect(apply, &QPushButton::clicked, this, &VPakfile::pakScanApply);
    connect(cancel, &QPushButton::clicked, this, &VPakfile::pakScanCancel);
    scanPageButtons
        = { browseButton, optionsButton, startScanButton, add, remove, automatic, apply, cancel };

    auto *legend = new QHBoxLayout;
    legend->setSpacing(4);
    legend->addWidget(legendChip(CPakfileScan::Add, QStringLiteral("To add")));
    legend->addWidget(legendChip(CPakfileScan::Replace, QStringLiteral("To replace")));
    legend->addWidget(legendChip(CPakfileScan::OnDisk, QStringLiteral("On disk")));
    legend->addWidget(legendChip(CPakfileScan::Packed, QStringLiteral("Packed")));
    legend->addWidget(legendChip(CPakfileScan::PackedNotOnDisk, QStringLiteral("Packed only")));
    legend->addWidget(legendChip(CPakfileScan::Missing, QStringLiteral("Not found")));
    legend->addStretch();

    auto *bottom = new QHBoxLayout;
    bottom->addWidget(add);
    bottom->addWidget(remove);
    bottom->addWidget(automatic);
    bottom->addStretch();
    bottom->addWidget(apply);
    bottom->addWidget(cancel);

    auto *page = new QWidget;
    auto *layout = new QVBoxLayout(page);
    layout->setContentsMargins(4, 4, 4, 4);
    layout->addLayout(top);
    layout->addWidget(scanTable);
    layout->addLayout(legend);
    layout->addLayout(bottom);
    return page;
}

void VPakfile::pakScan()
{
    if (!delegate)
        return;
    setFilePageEnabled(false);
    pages->setCurrentIndex(1);
    gameDirectory->setFocus();
}

void VPakfile::pakScanBrowse()
{
    ZIRK *zirk = ZIRK::get();
    zirk->configureFileDialog(this, QStringLiteral("Base Scan Directory"), QString(),
                              gameDirectory->text());
    const QString directory = zirk->getDirectory(false);
    if (!directory.isEmpty())
        gameDirectory->setText(directory);
}

void VPakfile::pakScanOptions()
{
    if (!scanOptions)
        scanOptions = new VPakfileScanOptions(this);
    scanOptions->setMask(scanMask);
    scanOptions->adjustSize();
    UTIL_centerOverWidget(scanOptions, this);
    if (scanOptions->exec() == QDialog::Accepted)
        scanMask = scanOptions->mask();
}

void VPakfile::pakScanScan()
{
    if (!delegate)
        return;
    gameDirectory->setEnabled(false);
    for (QPushButton *button : std::as_const(scanPageButtons))
        button->setEnabled(false);
    scanTable->setEnabled(false);

    QPointer<QProgressDialogger> dialog
        = new QProgressDialogger(QStringLiteral("Pre-processing..."), 0, 0, QString(), this);
    dialog->setObjectName(QStringLiteral("scanProgress"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setMinimumWidth(400);
    dialog->setWindowModality(Qt::WindowModal);
    dialog->setWindowTitle(windowTitle());
    dialog->setCloseWhenFinished(false);
    // No stage can stop part-way: a cancel only greys the dialog out.
    const auto disable = [dialog] {
        if (dialog)
            dialog->setEnabled(false);
    };
    connect(dialog.data(), &QDialog::rejected, this, disable);
    connect(dialog.data(), &QProgressDialogger::canceled, this, disable);
    dialog->show();

    contentDirectory = CPakfileScan::normalizeContentDirectory(gameDirectory->text());
    CPakfileScan::Options_t options;
    options.mask = scanMask;
    options.contentDirectory = gameDirectory->text();
    options.map = delegate.get();
    CPakfileScan::Progress_t progress;
    QElapsedTimer shown;
    shown.start();
    progress.stage = [&dialog](const QString &label, int maximum) {
        if (!dialog)
            return;
        dialog->setLabelText(label);
        dialog->setRange(0, maximum);
        dialog->setValue(0);
    };
    // The dialog pumps events on each value; a few dozen times a second is plenty.
    progress.value = [&dialog, &shown](int value) {
        if (dialog && (shown.elapsed() >= 40 || value >= dialog->maximum())) {
            dialog->setValue(value);
            shown.restart();
        }
    };
    progress.log = [&dialog](const QString &text, bool isError) {
        if (dialog)
            dialog->logMessage(text, isError);
    };
    const QVector<CPakfileScan::Row_t> rows = CPakfileScan::run(options, progress);
    fillScanTable(rows);
    finishProgress(dialog);

    gameDirectory->setEnabled(true);
    for (QPushButton *button : std::as_const(scanPageButtons))
        button->setEnabled(true);
    scanTable->setEnabled(true);
    pages->setEnabled(true);
}

void VPakfile::fillScanTable(const QVector<CPakfileScan::Row_t> &rows)
{
    scanTable->setSortingEnabled(false);
    scanTable->setUpdatesEnabled(false);
    scanTable->setRowCount(0);
    scanTable->setRowCount(int(rows.size()));
    scanSortColumn = -1;
    scanTable->horizontalHeader()->setSortIndicatorShown(false);
    for (qsizetype r = 0; r < rows.size(); ++r) {
        const CPakfileScan::Row_t &row = rows.at(r);
        const int at = int(r);
        scanTable->setRowHeight(at, 17);
        auto *name = new VScanTableWidgetItem(row.name, row.node, &contentDirectory);
        auto *path = new QTableWidgetItem(QLatin1Char('/') + row.directory);
        auto *size = new QTableWidgetItem;
        bool numeric = false;
        const qlonglong bytes = row.size.toLongLong(&numeric);
        if (numeric)
            size->setData(Qt::DisplayRole, bytes);
        else
            size->setText(row.size);
        size->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
        auto *type = new QTableWidgetItem(row.type);
        QTableWidgetItem *cells[] = { name, path, size, type };
        for (int column = 0; column < 4; ++column) {
            cells[column]->setForeground(QColor(0, 0, 0, 255));
            scanTable->setItem(at, column, cells[column]);
        }
        name->update();
    }
    fitColumns(scanTable);
    scanTable->setUpdatesEnabled(true);
}

void VPakfile::markScanRows(bool add, bool all, const QString &label)
{
    QProgressDialog busy(label, QString(), 0, 0, this);
    busy.setCancelButton(nullptr);
    busy.setMinimumDuration(500);
    busy.setModal(true);
    busy.setValue(0);
    QList<VScanTableWidgetItem *> items;
    if (all) {
        for (int row = 0; row < scanTable->rowCount(); ++row)
            items.append(static_cast<VScanTableWidgetItem *>(scanTable->item(row, 0)));
    } else {
        for (QTableWidgetItem *item : scanTable->selectedItems()) {
            if (item->column() == 0)
                items.append(static_cast<VScanTableWidgetItem *>(item));
        }
    }
    for (VScanTableWidgetItem *item : std::as_const(items)) {
        if (!item)
            continue;
        if (all && item->getNode() && item->getNode()->isDataInPackage())
            continue;
        if (add && !item->add && item->doesExist()) {
            item->add = true;
            item->update();
        } else if (!add && item->add) {
            item->add = false;
            item->update();
        }
    }
}

void VPakfile::pakScanAdd()
{
    markScanRows(true, false, QStringLiteral("Processing..."));
}

void VPakfile::pakScanRemove()
{
    markScanRows(false, false, QStringLiteral("Processing..."));
}

void VPakfile::pakScanAddMissing()
{
    markScanRows(true, true, QStringLiteral("Processing... "));
}

void VPakfile::pakScanApply()
{
    if (!delegate)
        return;
    QVector<CPakfileScan::Row_t> rows;
    rows.reserve(scanTable->rowCount());
    for (int r = 0; r < scanTable->rowCount(); ++r) {
        const auto *item = static_cast<VScanTableWidgetItem *>(scanTable->item(r, 0));
        CPakfileScan::Row_t row;
        row.name = item->text();
        row.directory = scanTable->item(r, 1)->text().mid(1);
        row.node = item->getNode();
        row.marked = item->add;
        rows.append(row);
    }
    QPointer<QProgressDialogger> dialog
        = startProgress(QStringLiteral("Loading data..."), int(rows.size()));
    const CPakfileScan::ApplyResult_t result
        = CPakfileScan::apply(*delegate, contentDirectory, rows, [&dialog](int done) {
              if (dialog)
                  dialog->setValue(done);
          });
    for (const QString &error : result.errors) {
        if (dialog)
            dialog->logMessage(error, true);
    }
    if (!result.updated.isEmpty()) {
        if (dialog)
            dialog->setLabelText(QStringLiteral("Updating modified..."));
        for (const CPackageHierarchyNode *node : result.updated)
            updatePakfileRowOf(node);
    }
    if (!result.added.isEmpty()) {
        if (dialog)
            dialog->setLabelText(QStringLiteral("Adding new..."));
        pakfileTable->setSortingEnabled(false);
        const int first = pakfileTable->rowCount();
        pakfileTable->setRowCount(first + int(result.added.size()));
        int row = first;
        for (const CPackageHierarchyNode *node : result.added)
            makeTableItemsForNode(node, row++);
        // The new files are at the end: show them.
        pakfileTable->scrollToItem(pakfileTable->item(first, 0));
    }
    finishProgress(dialog);
    pakScanCancel();
    if (!result.added.isEmpty())
        fitColumns(pakfileTable, true);
}

void VPakfile::pakScanCancel()
{
    setFilePageEnabled(true);
    pages->setCurrentIndex(0);
    scanTable->setRowCount(0);
    pages->setEnabled(true);
}
