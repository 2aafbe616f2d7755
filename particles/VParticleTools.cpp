// VParticle: the "Tools" menu. The work across files runs in PCFBatch; these slots ask what
// to do and show the progress and the log.
#include "app/ZIRK.h"
#include "particles/CDmxElement.h"
#include "particles/PCFBatch.h"
#include "particles/VParticle.h"
#include "particles/VParticleSystemsDialog.h"
#include "util/QListDialog.h"
#include "util/QProgressDialogger.h"

#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QInputDialog>
#include <QMessageBox>
#include <QPointer>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace {

const char *const ParticleFilter = "Particle Configuration File (*.pcf)";

// A progress dialog that stays up after the run, with its log, until the user closes it.
QProgressDialogger *openProgress(QWidget *parent, const QString &title)
{
    auto *dialog = new QProgressDialogger(parent);
    dialog->setObjectName(QStringLiteral("particleProgress"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    QObject::connect(dialog, &QDialog::finished, dialog, &QObject::deleteLater);
    dialog->setWindowTitle(title);
    dialog->setModal(true);
    // Room for the log's lines, which name whole paths.
    dialog->resize(std::max(dialog->sizeHint().width(), 560), dialog->sizeHint().height());
    dialog->show();
    return dialog;
}

PCFBatch::Observer observerOf(QProgressDialogger *dialog)
{
    QPointer<QProgressDialogger> guard(dialog);
    PCFBatch::Observer observer;
    observer.stage = [guard](const QString &label, int steps) {
        if (!guard)
            return;
        guard->setLabelText(label);
        guard->setRange(0, std::max(steps, 1));
        guard->setValue(0);
    };
    observer.step = [guard](int done) {
        if (!guard)
            return false;
        guard->setValue(std::min(done, guard->maximum() - 1));
        return !guard->isCanceled();
    };
    observer.log = [guard](const QString &text, bool error) {
        if (guard)
            guard->logMessage(text, error);
    };
    return observer;
}

void finishProgress(QProgressDialogger *dialog, bool cancelled)
{
    if (cancelled)
        dialog->logMessage(QStringLiteral("Operation cancelled."), true);
    dialog->setLabelText(QString::fromLatin1(PCFBatch::Complete));
    dialog->setRange(0, 1);
    dialog->setValue(1);
}

} // namespace

void VParticle::particleShowStringDictionary()
{
    if (!file)
        return;
    QStringList rows;
    for (qsizetype i = 0; i < file->stringDictionary.size(); ++i)
        rows << QStringLiteral("%1 : %2").arg(i).arg(*file->stringDictionary.at(i));
    QListDialog::showItems(this, QStringLiteral("String Dictionary"), rows);
}

void VParticle::particleFindSystem()
{
    bool ok = false;
    const QString name = QInputDialog::getText(this, QStringLiteral("Find System"),
                                               QStringLiteral("Enter system name:"),
                                               QLineEdit::Normal, QString(), &ok);
    if (!ok || name.isEmpty())
        return;
    ZIRK *zirk = ZIRK::get();
    zirk->configureFileDialog(this, QStringLiteral("Find System"),
                              QString::fromLatin1(ParticleFilter), QString());
    const QStringList files = zirk->getExistingFiles();
    if (files.isEmpty())
        return;

    QProgressDialogger *progress = openProgress(this, QStringLiteral("Find System"));
    bool cancelled = false;
    const QList<PCFBatch::Hit> hits
        = PCFBatch::findSystem(name, files, observerOf(progress), &cancelled);
    finishProgress(progress, cancelled);
    if (!progress->isError())
        progress->close();

    QDialog results(this);
    results.setObjectName(QStringLiteral("searchResults"));
    results.setWindowTitle(QStringLiteral("Search Results"));
    auto *list = new QTreeWidget(&results);
    list->setObjectName(QStringLiteral("searchResultList"));
    list->setHeaderLabels({ QStringLiteral("System Name") });
    list->setRootIsDecorated(false);
    for (const PCFBatch::Hit &hit : hits)
        new QTreeWidgetItem(
            list, { QFileInfo(hit.file).fileName() + QStringLiteral(" : ") + hit.system });
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok, &results);
    connect(buttons, &QDialogButtonBox::accepted, &results, &QDialog::accept);
    auto *layout = new QVBoxLayout(&results);
    layout->addWidget(list);
    layout->addWidget(buttons);
    results.resize(420, 320);
    results.exec();
}

bool VParticle::chooseSystems(const CFilePCF &source, const QString &title,
                              QList<CDmxElement *> &chosen, bool &preserveGUIDs)
{
    VParticleSystemsDialog dialog(source, title, this);
    if (dialog.exec() != QDialog::Accepted)
        return false;
    chosen = dialog.chosenSystems();
    preserveGUIDs = dialog.preserveGUIDs();
    return !chosen.isEmpty();
}

bool VParticle::portShared(const CFilePCF *source, const QList<CDmxElement *> *systems,
                           CFilePCF *target, bool preserveGUIDs)
{
    CDmxElement *pattern
        = target ? templateSystem(target->version, QStringLiteral("default")) : nullptr;
    if (const char *error = PCFBatch::portShared(source, systems, target, preserveGUIDs, pattern)) {
        warn(QString::fromLatin1(error));
        return false;
    }
    return true;
}

void VParticle::particleExport()
{
    if (!file)
        return;
    QList<CDmxElement *> chosen;
    bool preserve = false;
    if (!chooseSystems(*file, QStringLiteral("Export Particle Systems"), chosen, preserve))
        return;
    QString path;
    if (!pickParticleFile(QStringLiteral("Target PCF"), false, path))
        return;
    CFilePCF target;
    PCFDelegate targetDelegate;
    if (!targetDelegate.readFile(path, &target)) {
        warn(targetDelegate.getLastError());
        return;
    }
    if (!portShared(file.get(), &chosen, &target, preserve))
        return;
    if (!targetDelegate.writeFile(path, &target, target.version)) {
        warn(targetDelegate.getLastError());
        return;
    }
    QMessageBox::information(this, QStringLiteral("Export Particle Systems"),
                             QString::fromLatin1(PCFBatch::Complete));
}

void VParticle::particleImport()
{
    if (!file)
        return;
    QString path;
    if (!pickParticleFile(QStringLiteral("Source PCF"), false, path))
        return;
    CFilePCF source;
    PCFDelegate sourceDelegate;
    if (!sourceDelegate.readFile(path, &source) || source.version == CFilePCF::PCF_INVALID) {
        warn(QStringLiteral("Import Error: Source PCF has an invalid or unrecognized format."));
        return;
    }
    QList<CDmxElement *> chosen;
    bool preserve = false;
    if (!chooseSystems(source, QStringLiteral("Import Particle Systems"), chosen, preserve))
        return;
    if (!portShared(&source, &chosen, file.get(), preserve))
        return;
    replotTree();
    setWindowModified(true);
    QMessageBox::information(this, QStringLiteral("Import Particle Systems"),
                             QString::fromLatin1(PCFBatch::Complete));
}

void VParticle::particleGenerateMapManifest()
{
    const QString map
        = QFileDialog::getOpenFileName(this, QStringLiteral("Select BSP"), QString(),
                                       QStringLiteral("Valve Binary Space Partition (*.bsp)"));
    if (map.isEmpty())
        return;
    const QString directory = QFileDialog::getExistingDirectory(
        this, QStringLiteral("Select Particle Directory"), QFileInfo(map).absolutePath());
    if (directory.isEmpty())
        return;
    if (PCFBatch::particleFilesIn(directory).isEmpty()) {
        QMessageBox::information(this, QStringLiteral("Generate Map Manifest"),
                                 QStringLiteral("No files to manifest."));
        return;
    }
    QProgressDialogger *progress = openProgress(this, QStringLiteral("Generate Map Manifest"));
    const PCFBatch::ManifestResult result
        = PCFBatch::generateMapManifest({ map, directory }, observerOf(progress));
    finishProgress(progress, result.cancelled);
}

void VParticle::particleMassFormat()
{
    massEditingShared('f');
}

void VParticle::particleEnsureUniqueGUIDmultiple()
{
    massEditingShared('g');
}

void VParticle::massEditingShared(char mode)
{
    const bool format = mode == 'f';
    const QString title
        = format ? QStringLiteral("Mass Format") : QStringLiteral("Ensure GUID Uniqueness");
    ZIRK *zirk = ZIRK::get();
    zirk->configureFileDialog(this, title, QString::fromLatin1(ParticleFilter), QString());
    const QStringList files = zirk->getExistingFiles();
    if (files.isEmpty())
        return;
    // The version is asked before the files are read, so that a change of mind costs nothing.
    CFilePCF::ParticleFormatVersion_t version = CFilePCF::PCF_INVALID;
    if (format) {
        version = promptParticleFormatVersion(this, title);
        if (version == CFilePCF::PCF_INVALID)
            return;
    }
    QProgressDialogger *progress = openProgress(this, title);
    PCFBatch::Result result;
    if (format) {
        PCFBatch::FormatOptions options;
        options.files = files;
        options.version = version;
        options.systemTemplate = templateSystem(version, QStringLiteral("default"));
        result = PCFBatch::massFormat(options, observerOf(progress));
    } else {
        result = PCFBatch::ensureUniqueGUIDs(files, observerOf(progress));
    }
    finishProgress(progress, result.cancelled);
}
