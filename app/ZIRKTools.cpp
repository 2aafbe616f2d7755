// ZIRK, second half: routing of paths to tool windows and the tool factory
// slots. Tool windows that are not part of this build yet log a line instead.
#include "app/ZIRK.h"

#include "gamedata/CFileFGD.h"
#include "gamedata/VFGD.h"
#include "map/VBSPINFO.h"
#include "map/VENTITY.h"
#include "map/VVBSP.h"
#include "materials/VMass.h"
#include "materials/VVMT.h"
#include "packages/CDelegateBSP.h"
#include "packages/VPackage.h"
#include "particles/VParticle.h"
#include "textures/CFileVTF.h"
#include "textures/VTFMass.h"
#include "textures/VVTF.h"

#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>

#include <memory>

ZIRK::Route ZIRK::routeForPath(const QString &path)
{
    const QString suffix = QFileInfo(path).suffix();
    auto is = [&suffix](const char *name) {
        return suffix.compare(QLatin1String(name), Qt::CaseInsensitive) == 0;
    };
    if (is("bsp") || is("gcf") || is("ncf") || is("vpk"))
        return RoutePackage;
    if (is("pcf"))
        return RouteParticle;
    if (is("vmt"))
        return RouteMaterial;
    if (is("vtf"))
        return RouteTexture;
    return RouteNone;
}

void ZIRK::handleMessage(const QString &message)
{
    // The empty message is the probe of a second instance.
    if (message.isEmpty())
        return;
    if (!QFileInfo(message).exists())
        return;
    switch (routeForPath(message)) {
    case RoutePackage:
        showVPackage(message);
        break;
    case RouteParticle:
        // Particle files are recognised but deliberately not opened from here.
        break;
    case RouteMaterial:
        showVVMT(message);
        break;
    case RouteTexture:
        openTextureFromMessage(message);
        break;
    case RouteNone:
        break;
    }
}

void ZIRK::openTextureFromMessage(const QString &path)
{
    // A texture that cannot be read still gets an editor, without a file; the
    // reason is not reported on this path.
    CFileVTF *texture = nullptr;
    QString error;
    QFile file(path);
    if (!file.exists()) {
        error = QStringLiteral("Read Error: File does not exist");
    } else if (!file.open(QIODevice::ReadOnly)) {
        error = QStringLiteral("Read Error: Unable to open device");
    } else {
        texture = IFileClass<CFileVTF>::createFromDevice(file, error);
        if (texture) {
            texture->filePath = path;
            texture->fileName = QFileInfo(path).baseName();
        }
    }
    showVVTF(texture, QString());
}

void ZIRK::logUnavailable(const char *tool)
{
    qDebug("%s is not part of this build yet", tool);
}

void ZIRK::showVPackage()
{
    showSubwindowShared(new VPackage());
}

void ZIRK::showVPackage(const QString &path)
{
    showSubwindowShared(new VPackage(path));
}

void ZIRK::showVMass()
{
    showSubwindowShared(new VMass());
}

void ZIRK::showVParticle()
{
    showSubwindowShared(new VParticle());
}

void ZIRK::showVParticle(const QString &path)
{
    // A file that does not read says why and opens no window.
    auto editor = std::make_unique<VParticle>();
    if (editor->particleOpen(path))
        showSubwindowShared(editor.release());
}

void ZIRK::showVParticle(CFilePCF *file)
{
    // The editor takes the file over.
    showSubwindowShared(new VParticle(file));
}

void ZIRK::showVVBSP()
{
    showSubwindowShared(new VVBSP());
}

void ZIRK::showVVBSP(const QString &path)
{
    showSubwindowShared(new VVBSP(path));
}

void ZIRK::showVVBSP(CFileVBSP *file)
{
    showSubwindowShared(new VVBSP(file));
}

void ZIRK::showVVMT()
{
    showSubwindowShared(new VVMT());
}

void ZIRK::showVVMT(const QString &path)
{
    showSubwindowShared(new VVMT(path));
}

void ZIRK::showVVMT(const QByteArray &data, const QString &name)
{
    showSubwindowShared(new VVMT(data, name));
}

void ZIRK::showVFGD()
{
    showSubwindowShared(new VFGD());
}

void ZIRK::showVFGD(CFileFGD *file)
{
    showSubwindowShared(new VFGD(file));
}

void ZIRK::showVVTF()
{
    showSubwindowShared(new VVTF());
}

void ZIRK::showVVTF(const QString &path)
{
    showSubwindowShared(new VVTF(path));
}

void ZIRK::showVVTF(CFileVTF *file, const QString &name)
{
    // The editor takes the texture over.
    showSubwindowShared(new VVTF(file, name));
}

void ZIRK::showVVTF(CFileVTF *file)
{
    showVVTF(file, QString());
}

void ZIRK::showVTFMass()
{
    showSubwindowShared(new VTFMass());
}

void ZIRK::showVBSPInfo()
{
    const QString path
        = QFileDialog::getOpenFileName(this, QStringLiteral("Open BSP"), QString(),
                                       QStringLiteral("Valve Binary Space Partition (*.bsp)"));
    if (path.isEmpty())
        return;
    showVBSPInfo(path);
}

void ZIRK::showVBSPInfo(const QString &path)
{
    CDelegateBSP bsp;
    if (!bsp.openPackage(path, true)) {
        QMessageBox::warning(this, QStringLiteral("BSP Info"), bsp.getLastError());
        return;
    }
    showSubwindowShared(new VBSPINFO(bsp));
}

void ZIRK::showVEntity()
{
    showSubwindowShared(new VENTITY());
}

void ZIRK::showVEntity(const QString &path)
{
    showSubwindowShared(new VENTITY(path));
}

void ZIRK::showVPakfile()
{
    logUnavailable("Pakfile Lump Editor");
}

void ZIRK::showVPakfile(const QString &)
{
    // Deliberately an empty editor, whatever the path.
    showVPakfile();
}

void ZIRK::showENTSPY() { }

void ZIRK::showGCFSCAPE() { }

void ZIRK::showPAKRAT() { }

void ZIRK::doDummy1()
{
    const QString path = QFileDialog::getOpenFileName(this, QStringLiteral("Load"), QString(),
                                                      QStringLiteral("Forge Game Data (*.fgd)"));
    if (path.isEmpty())
        return;
    // A file that fails to read shows nothing.
    auto *file = new CFileFGD;
    if (file->createFromFile(path))
        showVFGD(file);
    else
        delete file;
}
