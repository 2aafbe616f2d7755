// ZIRK, second half: routing of paths to tool windows and the tool factory
// slots. Tool windows that are not part of this build yet log a line instead.
#include "app/ZIRK.h"

#include "packages/VPackage.h"
#include "particles/VParticle.h"
#include "textures/CFileVTF.h"
#include "textures/VTFMass.h"
#include "textures/VVTF.h"

#include <QFile>
#include <QFileDialog>
#include <QFileInfo>

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
    logUnavailable("Mass VMT Editor");
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
    logUnavailable("VBSP Editor");
}

void ZIRK::showVVBSP(const QString &)
{
    logUnavailable("VBSP Editor");
}

void ZIRK::showVVBSP(CFileVBSP *)
{
    logUnavailable("VBSP Editor");
}

void ZIRK::showVVMT()
{
    logUnavailable("VMT Editor");
}

void ZIRK::showVVMT(const QString &)
{
    logUnavailable("VMT Editor");
}

void ZIRK::showVVMT(const QByteArray &, const QString &)
{
    logUnavailable("VMT Editor");
}

void ZIRK::showVFGD()
{
    logUnavailable("FGD Editor");
}

void ZIRK::showVFGD(CFileFGD *)
{
    logUnavailable("FGD Editor");
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

void ZIRK::showVBSPInfo(const QString &)
{
    logUnavailable("BSP Info");
}

void ZIRK::showVEntity()
{
    logUnavailable("Entity Lump Editor");
}

void ZIRK::showVEntity(const QString &)
{
    logUnavailable("Entity Lump Editor");
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
    logUnavailable("FGD Editor");
}
