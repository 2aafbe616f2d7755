#pragma once

// A generated VPK directory for the package benchmarks.

#include <QByteArray>
#include <QtEndian>

namespace largevpk {

inline void putU16(QByteArray &out, quint16 value)
{
    char raw[2];
    qToLittleEndian(value, raw);
    out.append(raw, 2);
}

inline void putU32(QByteArray &out, quint32 value)
{
    char raw[4];
    qToLittleEndian(value, raw);
    out.append(raw, 4);
}

inline void putString(QByteArray &out, const QByteArray &text)
{
    out.append(text);
    out.append('\0');
}

// Two extensions, 2,000 directories two levels deep, 50 files of each
// extension in each directory: 200,000 entries.
inline QByteArray makeDirectory(int directories, int filesPerExtension)
{
    QByteArray tree;
    const char *extensions[] = { "vmt", "vtf" };
    for (const char *extension : extensions) {
        putString(tree, extension);
        for (int d = 0; d < directories; ++d) {
            putString(tree,
                      QByteArray("materials/group") + QByteArray::number(d / 50) + "/set"
                          + QByteArray::number(d));
            for (int f = 0; f < filesPerExtension; ++f) {
                putString(tree, QByteArray("texture_") + QByteArray::number(f));
                putU32(tree, 0x12345678);
                putU16(tree, 0);
                putU16(tree, quint16(d % 20));
                putU32(tree, quint32(f * 1024));
                putU32(tree, 1024);
                putU16(tree, 0xFFFF);
            }
            putString(tree, QByteArray());
        }
        putString(tree, QByteArray());
    }
    putString(tree, QByteArray());
    QByteArray out;
    putU32(out, 0x55AA1234);
    putU32(out, 1);
    putU32(out, quint32(tree.size()));
    out.append(tree);
    return out;
}

} // namespace largevpk
