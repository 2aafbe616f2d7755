// Uses a format, a helper and the compiled-in resources of the core library:
// an empty or half-built library fails to link or answers wrongly.
#include "textures/CFileVTF.h"
#include "util/UtilPath.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QFile>

#include <cstdio>

extern int qInitResources_ZIRK();

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    qInitResources_ZIRK();

    CFileVTF texture(4, 4);
    texture.setVersion(7, 2);
    QBuffer buffer;
    if (!buffer.open(QIODevice::ReadWrite)
        || !texture.serialize(static_cast<QIODevice &>(buffer))) {
        std::fprintf(stderr, "embed_check: the texture did not serialize\n");
        return 1;
    }
    CFileVTF *back = IFileClass<CFileVTF>::createFromData(buffer.data());
    const bool readBack = back && back->getWidth() == 4;
    delete back;
    if (!readBack) {
        std::fprintf(stderr, "embed_check: the texture did not read back\n");
        return 1;
    }
    if (UTIL_getFileExtension(QStringLiteral("maps/x.bsp"), true) != QLatin1String("bsp")) {
        std::fprintf(stderr, "embed_check: the path helpers answer wrongly\n");
        return 1;
    }
    if (!QFile::exists(QStringLiteral(":/resources/icons/vvtf"))) {
        std::fprintf(stderr, "embed_check: the resources are missing\n");
        return 1;
    }
    std::printf("embed_check: ok\n");
    return 0;
}
