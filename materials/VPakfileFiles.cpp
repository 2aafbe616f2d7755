// VPakfile, second part: the operations of the file page.
#include "materials/VPakfile.h"

#include "app/ZIRK.h"
#include "materials/VPakfileStatusDialog.h"
#include "materials/VPakfileTableWidgetItem.h"
#include "packages/CDelegateBSP.h"
#include "packages/FlushSyncronizer.h"
#include "util/QListDialog.h"
#include "util/QProgressDialogger.h"

#include <QInputDialog>
#include <QMessageBox>
#include <QPointer>
#include <QProgressDialog>
#include <QStackedWidget>
#include <QTableWidget>

void VPakfile::fileSave()
{
    if (!delegate)
        return;
    const std::unique_ptr<FlushSyncronizer> sync(delegate->flushAdvanced());
    sync->reset();
    QPointer<QProgressDialogger> dialog = startProgress(QStringLiteral("Processing..."), 0);
    connect(sync.get(), &FlushSyncronizer::totalChanged, dialog.data(),
            &QProgressDialogger::setMaximum);
    connect(sync.get(), &FlushSyncronizer::itemsProcessedChanged, dialog.data(),
            &QProgressDialogger::setValue);
    pages->setEnabled(false);
    QStringList warnings;
    const bool saved = CPakfileTool::save(*delegate, sync.get(), warnings);
    if (saved)
        fillPakfileTable();
    if (dialog) {
        for (const CPair<QString, bool> &message : sync->getMessages())
            dialog->logMessage(message.first, message.second);
        for (const QString &warning : std::as_const(warnings))
            dialog->logMessage(warning, true);
    }
    pages->setEnabled(true);
    if (saved) {
        finishProgress(dialog);
        return;
    }
    if (dialog) {
        finishProgress(dialog);
        dialog->exec();
    }
    if (!delegate->isPackageOpen())
        reset();
}

void VPakfile::pakFileRevert()
{
    if (!delegate)
        return;
    for (VPakfileTableWidgetItem *item : selectedPakfileItems()) {
        CPackageHierarchyNode *node = item->getNode();
        if (!node || !node->isDataInPackage() || !node->hasData)
            continue;
        if (delegate->fileRevertByNode(node))
            makeTableItemsForNode(node, item->row());
    }
}

void VPakfile::pakFileSave()
{
    const QList<VPakfileTableWidgetItem *> items = selectedPakfileItems();
    if (!delegate || items.isEmpty())
        return;
    ZIRK *zirk = ZIRK::get();
    zirk->configureFileDialog(this, QStringLiteral("Save File(s)"), QString(), QString());
    const QString directory = zirk->getDirectory(true);
    if (directory.isEmpty())
        return;
    const bool preserve
        = QMessageBox::question(this, windowTitle(), QStringLiteral("Preserve file structure?"),
                                QMessageBox::Yes | QMessageBox::No)
        == QMessageBox::Yes;
    QVector<CPakfileTool::SaveItem_t> saveItems;
    for (VPakfileTableWidgetItem *item : items)
        saveItems.append({ item->getNode(), pakfileTable->item(item->row(), 1)->text() });
    QPointer<QProgressDialogger> dialog
        = startProgress(QStringLiteral("Processing..."), int(saveItems.size()));
    CPakfileTool::SaveQuestions_t questions;
    questions.modified = [this](const QString &path) {
        return askAll(QStringLiteral("File \"%1\" has been modified.").arg(path),
                      QStringLiteral("Save modified?"), false);
    };
    questions.overwrite = [this](const QString &name) {
        return askAll(QStringLiteral("File \"%1\" already exists.").arg(name),
                      QStringLiteral("\nOverwrite?"), true);
    };
    const QStringList log = CPakfileTool::saveFiles(*delegate, saveItems, directory, preserve,
                                                    questions, [&dialog](int done) {
                                                        if (dialog)
                                                            dialog->setValue(done);
                                                    });
    if (!dialog)
        return;
    for (const QString &line : log)
        dialog->logMessage(line, true);
    finishProgress(dialog);
}

void VPakfile::pakFileDeleteToggle()
{
    if (!delegate)
        return;
    QProgressDialog busy(QStringLiteral("Processing..."), QStringLiteral("Abort"), 0, 0, this);
    busy.setWindowModality(Qt::WindowModal);
    busy.setMinimumDuration(500);
    busy.setCancelButton(nullptr);
    busy.setValue(0);
    for (int row = pakfileTable->rowCount() - 1; row >= 0; --row) {
        auto *item = static_cast<VPakfileTableWidgetItem *>(pakfileTable->item(row, 0));
        if (!item || !item->isSelected() || !item->getNode())
            continue;
        if (CPakfileTool::toggleDeletion(*delegate, item->getNode())) {
            pakfileTable->removeRow(row);
            continue;
        }
        item->update();
    }
    tableSelectionChanged();
}

void VPakfile::pakAdd()
{
    if (!delegate)
        return;
    ZIRK *zirk = ZIRK::get();
    zirk->configureFileDialog(this, QStringLiteral("Add Files"), QStringLiteral("All Files (*.*)"),
                              QString());
    const QStringList files = zirk->getExistingFiles();
    if (!files.isEmpty())
        addFiles(files);
}

void VPakfile::addFiles(const QStringList &files)
{
    const QStringList directories = CPakfileTool::packageDirectories(*delegate);
    const int choice = QListDialog::getItem(
        this, windowTitle(), QStringList(QStringLiteral("<different>")) + directories, 0);
    if (choice < 0)
        return;
    QString relative;
    if (choice == 0) {
        bool ok = false;
        relative = QInputDialog::getText(
            this, windowTitle(),
            QStringLiteral("Add selected files using the following relative path:"),
            QLineEdit::Normal, QString(), &ok);
        if (!ok)
            return;
    } else {
        relative = directories.at(choice - 1);
    }
    QPointer<QProgressDialogger> dialog
        = startProgress(QStringLiteral("Processing..."), int(files.size()));
    const CPakfileTool::AddResult_t result = CPakfileTool::addFiles(
        *delegate, files, relative,
        [this](const QString &path) {
            return askAll(QStringLiteral("Data already exists at \"%1\"").arg(path),
                          QStringLiteral("\nOverwrite?"), true);
        },
        [&dialog](int done) {
            if (dialog)
                dialog->setValue(done);
        });
    for (const CPackageHierarchyNode *node : result.changed)
        updatePakfileRowOf(node);
    pakfileTable->setSortingEnabled(false);
    for (const CPackageHierarchyNode *node : result.added) {
        const int row = pakfileTable->rowCount();
        pakfileTable->setRowCount(row + 1);
        makeTableItemsForNode(node, row);
    }
    if (!result.added.isEmpty()) {
        pakfileTable->scrollToItem(pakfileTable->item(pakfileTable->rowCount() - 1, 0));
        fitColumns(pakfileTable, true);
    }
    if (!dialog)
        return;
    for (const QString &line : result.log)
        dialog->logMessage(line, true);
    finishProgress(dialog);
}

void VPakfile::updatePakfileRowOf(const CPackageHierarchyNode *node)
{
    for (int row = 0; row < pakfileTable->rowCount(); ++row) {
        const auto *item = static_cast<VPakfileTableWidgetItem *>(pakfileTable->item(row, 0));
        if (item && item->getNode() == node) {
            makeTableItemsForNode(node, row);
            return;
        }
    }
}

void VPakfile::pakExtract()
{
    if (!delegate)
        return;
    ZIRK *zirk = ZIRK::get();
    zirk->configureFileDialog(this, QStringLiteral("Save ZIP"), QStringLiteral("ZIP File (*.zip)"),
                              QString());
    const QString path = zirk->getAnyFile();
    if (!path.isEmpty())
        extractZip(path);
}

void VPakfile::extractZip(const QString &path)
{
    QString error;
    CPakfileTool::ExportResult_t result = CPakfileTool::Exported;
    {
        QProgressDialog busy(QStringLiteral("Processing..."), QStringLiteral("Abort"), 0, 0, this);
        busy.setWindowModality(Qt::WindowModal);
        busy.setMinimumDuration(500);
        busy.setValue(0);
        result = CPakfileTool::exportZip(*delegate, path, error);
    }
    if (result != CPakfileTool::Exported)
        QMessageBox::warning(this, windowTitle(), error);
}

void VPakfile::pakInfo()
{
    if (!delegate)
        return;
    QStringList types;
    for (int row = 0; row < pakfileTable->rowCount(); ++row) {
        const auto *item = static_cast<VPakfileTableWidgetItem *>(pakfileTable->item(row, 0));
        if (item && item->getNode() && item->getNode()->isDataInPackage())
            types.append(pakfileTable->item(row, 3)->text());
    }
    const auto field = [this](CDelegateBSP::LumpDataField_t which) {
        return delegate->getLumpInfo(CDelegateBSP::Lump_Pakfile, which);
    };
    VPakfileStatusDialog status(
        field(CDelegateBSP::LumpField_Version), field(CDelegateBSP::LumpField_Offset),
        field(CDelegateBSP::LumpField_Length), delegate->getPakfileCommentTrimmed(),
        CPakfileTool::statistics(types), this);
    status.exec();
}
