// VENTITY, second part: opening, importing, saving and exporting.
#include "map/VENTITY.h"

#include "app/ProgramSettings_t.h"
#include "app/ZIRK.h"
#include "map/CEntityLumpFile.h"
#include "map/CFileVMF.h"
#include "map/VEntityListWidgetItem.h"
#include "util/UtilWidgets.h"

#include <QBuffer>
#include <QFile>
#include <QFileInfo>
#include <QInputDialog>
#include <QLineEdit>
#include <QListWidget>
#include <QProgressDialog>

namespace {

const char *const MapFilter = "Valve Binary Space Partition (*.bsp)";
const char *const LumpFilter = "Lump File (*.lmp)";

bool hasSuffix(const QString &path, const char *suffix)
{
    return QFileInfo(path).suffix().compare(QLatin1String(suffix), Qt::CaseInsensitive) == 0;
}

} // namespace

QString VENTITY::askOpenPath(const QString &title, const QString &filter)
{
    ZIRK *zirk = ZIRK::get();
    zirk->configureFileDialog(this, title, filter, QString());
    return zirk->getExistingFile();
}

void VENTITY::fileOpen()
{
    fileOpen(askOpenPath(QStringLiteral("Open File"),
                         QString::fromLatin1(MapFilter) + QStringLiteral(";;")
                             + QString::fromLatin1(LumpFilter)));
}

void VENTITY::fileOpen(const QString &path)
{
    if (path.isEmpty())
        return;
    if (!filePath.isEmpty()) {
        ZIRK::get()->showVEntity(path);
        return;
    }
    if (!bspOpen(path) && !lmpOpen(path) && !vmfOpen(path))
        return;
    enableFileControls();
    filePath = path;
    setWindowTitle(QFileInfo(path).baseName() + QStringLiteral("[*]"));
}

void VENTITY::importFromBSP()
{
    if (bspOpen(askOpenPath(QStringLiteral("Import From BSP"), QString::fromLatin1(MapFilter))))
        setWindowModified(true);
}

void VENTITY::importFromLMP()
{
    if (lmpOpen(askOpenPath(QStringLiteral("Import From LMP"), QString::fromLatin1(LumpFilter))))
        setWindowModified(true);
}

void VENTITY::importFromVMF()
{
    if (vmfOpen(askOpenPath(QStringLiteral("Import From VMF"),
                            QStringLiteral("Valve Map File (*.vmf *.vmx)"))))
        setWindowModified(true);
}

bool VENTITY::bspOpen(const QString &path)
{
    if (!hasSuffix(path, "bsp"))
        return false;
    QByteArray lump;
    QString error;
    if (!CEntityLumpFile::readFromBSP(path, lump, error)) {
        warn(error);
        return false;
    }
    QBuffer buffer(&lump);
    buffer.open(QIODevice::ReadOnly);
    lmpOpen(buffer, lump.size());
    return true;
}

bool VENTITY::lmpOpen(const QString &path)
{
    if (!hasSuffix(path, "lmp"))
        return false;
    QFile file;
    QString error;
    if (!CEntityLumpFile::openLMP(path, file, error)) {
        warn(error);
        return false;
    }
    lmpOpen(file, file.size());
    return true;
}

bool VENTITY::vmfOpen(const QString &path)
{
    if (!hasSuffix(path, "vmf") && !hasSuffix(path, "vmx"))
        return false;
    QString error;
    const std::unique_ptr<CFileVMF> vmf = CEntityLumpFile::readVMF(path, error);
    if (!vmf) {
        warn(error);
        return false;
    }
    CEntityLump::Entities entities = CEntityLump::fromVMF(
        *vmf, [this] { return ask(QStringLiteral("Ignore hidden entities?")); });
    appendEntities(entities);
    filterEntities();
    return true;
}

void VENTITY::lmpOpen(QIODevice &device, qint64 end)
{
    CEntityLump::Entities entities = CEntityLump::parse(device, end);
    appendEntities(entities);
    ensureValidity();
    filterEdit->clear();
    filterEntities();
}

void VENTITY::appendEntities(CEntityLump::Entities &entities)
{
    // Thousands of rows: the view lays them out once at the end.
    entityList->setUpdatesEnabled(false);
    for (std::unique_ptr<CEntity> &entity : entities) {
        auto *item = new VEntityListWidgetItem(std::move(*entity));
        ensureEntityName(item);
        entityList->addItem(item);
    }
    entityList->setUpdatesEnabled(true);
}

void VENTITY::fileSave()
{
    if (filePath.isEmpty()) {
        warn(QStringLiteral("Unable to save: No associated file"));
        return;
    }
    if (hasSuffix(filePath, "bsp")) {
        (void)bspSave(filePath);
    } else if (hasSuffix(filePath, "lmp")) {
        (void)lmpSave(filePath);
    } else {
        warn(QStringLiteral("Unable to save: File type \"%1\" not recognized")
                 .arg(QFileInfo(filePath).suffix()));
        return;
    }
    setWindowModified(false);
}

void VENTITY::exportAsLMP()
{
    ZIRK *zirk = ZIRK::get();
    zirk->configureFileDialog(this, QStringLiteral("Export As LMP"),
                              QString::fromLatin1(LumpFilter), QString());
    const QString path = zirk->getAnyFile();
    if (!path.isEmpty())
        (void)lmpSave(path);
}

void VENTITY::exportAsVMF()
{
    ZIRK *zirk = ZIRK::get();
    zirk->configureFileDialog(this, QStringLiteral("Export As VMF"),
                              QStringLiteral("Valve Map File (*.vmf)"), QString());
    (void)vmfSave(zirk->getAnyFile());
}

void VENTITY::buildLump(QByteArray &out)
{
    QProgressDialog progress(QStringLiteral("Building entity lump..."), QStringLiteral("Abort"), 0,
                             entityList->count(), this);
    progress.setWindowTitle(title());
    progress.setWindowModality(Qt::WindowModal);
    progress.setMinimumWidth(400);
    progress.setCancelButton(nullptr);
    progress.setAutoClose(false);
    progress.setMinimumDuration(500);
    UTIL_centerOverWidget(&progress, this);
    ensureValidity();
    out = CEntityLump::buildLump(rows(), [&progress](int done) {
        // Every entity would make a big lump slow for the sake of the bar.
        if (done % 256 == 0 || done == progress.maximum())
            progress.setValue(done);
    });
}

bool VENTITY::lmpSave(const QString &path)
{
    QByteArray lump;
    buildLump(lump);
    CEntityLumpFile::LMPSaveOptions options;
    options.customSize = [this](qint64 size) -> qint64 {
        if (!ask(QStringLiteral("Specify custom lump size?")))
            return 0;
        bool ok = false;
        const int custom
            = QInputDialog::getInt(this, title(), QStringLiteral("Custom size in bytes:"),
                                   int(size), int(size), 1073741823, 1, &ok);
        return ok ? custom : 0;
    };
    QString error;
    if (CEntityLumpFile::writeLMP(path, lump, options, error))
        return true;
    if (!error.isEmpty())
        warn(error);
    return false;
}

bool VENTITY::bspSave(const QString &path)
{
    QProgressDialog busy(QStringLiteral("Writing entity lump..."), QStringLiteral("Abort"), 0, 0,
                         this);
    busy.setWindowTitle(title());
    busy.setWindowModality(Qt::WindowModal);
    busy.setMinimumWidth(400);
    busy.setCancelButton(nullptr);
    busy.setAutoClose(false);
    busy.setMinimumDuration(0);
    busy.setValue(0);

    QByteArray lump;
    buildLump(lump);
    CEntityLumpFile::BSPSaveOptions options;
    // The answer is not used: the lump goes in at its new size whatever is said.
    // The busy dialog stays above message boxes: it steps aside while one is up.
    options.smallerThanBefore = [this, &busy] {
        busy.hide();
        (void)ask(QStringLiteral(
            "New entity lump smaller than original lump. Preserve original lump size?"));
        busy.show();
    };
    bool flushed = false;
    QString error;
    const bool written = CEntityLumpFile::writeToBSP(path, lump, options, flushed, error);
    busy.close();
    if (!written) {
        warn(error);
        return false;
    }
    // The result of the rewrite is read the other way round, and the message comes when it
    // went well.
    if (flushed) {
        warn(QStringLiteral("Unable to complete file save."));
        return false;
    }
    return true;
}

bool VENTITY::vmfSave(const QString &path)
{
    if (path.isEmpty())
        return false;
    QString error;
    const bool written = CEntityLumpFile::writeVMF(
        path, rows(), *ProgramSettings_t::get()->studioKeys,
        [this](int row) { ensureEntityName(entityAt(row)); }, error);
    if (!written)
        warn(error);
    return written;
}
