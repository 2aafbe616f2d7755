#pragma once

#include "packages/CPackageHierarchyNode.h"
#include "packages/FlushSyncronizer.h"

#include <QByteArray>
#include <QDataStream>
#include <QFile>
#include <QString>
#include <QStringList>
#include <QVector>

class QIODevice;

// One interface over everything that holds a file tree (a map's pakfile, VPK,
// GCF and NCF archives). Each operation comes by entry index, by node and by
// path. Wanted changes are recorded on the nodes (pending data, deletion
// marks, new leaves) and reach the file only through flush().
//
// "Package file" in a name means the entry as it stands on disk; "file" means
// the current state, pending data included. Every failure leaves its text in
// lastError, which a success does not clear.
class IPackageDelegate
{
public:
    enum PackageType_t {
        PackageType_None = 0,
        PackageType_BSP = 1,
        PackageType_GCF = 2,
        PackageType_NCF = 3,
        PackageType_VPK = 4
    };

    IPackageDelegate();
    virtual ~IPackageDelegate();

    IPackageDelegate(const IPackageDelegate &) = delete;
    IPackageDelegate &operator=(const IPackageDelegate &) = delete;

    virtual bool openPackage(const QString &path, bool readOnly) = 0;
    virtual void closePackage() = 0;
    virtual bool isPackageOpen() const;
    virtual bool isPackageReadOnly() const;
    virtual QString getPackagePath() const;
    virtual QString getPackageName() const;
    virtual int getPackageType() const;
    virtual CPackageHierarchyNode *getRootDirectoryNode() const;

    // A fresh, reset synchroniser; the caller owns it.
    virtual FlushSyncronizer *flushAdvanced();
    virtual bool flush(FlushSyncronizer *sync) = 0;

    virtual bool isPackageFileAtIndex(unsigned int index) const = 0;
    virtual bool isFileAtIndex(unsigned int index) const;

    virtual unsigned int getPackageFileSizeByIndex(unsigned int index) const = 0;
    virtual unsigned int getPackageFileSizeByNode(const CPackageHierarchyNode *node) const;
    virtual unsigned int getPackageFileSizeByPath(const QString &path) const;
    virtual unsigned int getFileSizeByIndex(unsigned int index) const;
    virtual unsigned int getFileSizeByNode(const CPackageHierarchyNode *node) const;
    virtual unsigned int getFileSizeByPath(const QString &path) const;
    virtual unsigned int getPackageFileSizeOnDiskByIndex(unsigned int index) const = 0;
    virtual unsigned int getPackageFileSizeOnDiskByNode(const CPackageHierarchyNode *node) const;
    virtual unsigned int getPackageFileSizeOnDiskByPath(const QString &path) const;

    virtual bool getPackageFileByIndex(QIODevice *device, unsigned int index) const = 0;
    virtual QByteArray *getPackageFileByIndex(unsigned int index) const;
    virtual bool getPackageFileByNode(QIODevice *device, const CPackageHierarchyNode *node) const;
    virtual QByteArray *getPackageFileByNode(const CPackageHierarchyNode *node) const;
    virtual bool getPackageFileByPath(QIODevice *device, const QString &path) const;
    virtual bool getFileByNode(QIODevice *device, const CPackageHierarchyNode *node) const;
    virtual QByteArray *getFileByNode(const CPackageHierarchyNode *node) const;
    virtual bool getFileByIndex(QIODevice *device, unsigned int index) const;
    virtual QByteArray *getFileByIndex(unsigned int index) const;
    virtual bool getFileByPath(QIODevice *device, const QString &path) const;
    virtual QByteArray *getFileByPath(const QString &path) const;

    // True if an entry of the package got the mark. A node that was only
    // added is removed outright (its table entry becomes null): false.
    virtual bool fileMarkForDeletionByNode(CPackageHierarchyNode *node);
    virtual bool fileMarkForDeletionByPath(const QString &path);
    virtual bool fileUnmarkForDeletionByNode(CPackageHierarchyNode *node);
    virtual bool fileUnmarkForDeletionByPath(const QString &path);
    // Drops the pending data of an entry that exists in the package.
    virtual bool fileDeleteByNode(CPackageHierarchyNode *node);
    virtual bool fileDeleteByPath(const QString &path);

    // Reads `length` bytes (all ones: to the device's end) as new content.
    virtual bool setFileByNode(QIODevice &device, CPackageHierarchyNode *node, unsigned int length);
    virtual bool setFileByNode(const QByteArray &bytes, bool isPath, CPackageHierarchyNode *node);
    // Creates the leaf when needed; a new leaf is appended to the entry
    // table. The node on success, null otherwise.
    virtual CPackageHierarchyNode *setFileByPath(QIODevice &device, const QString &path,
                                                 unsigned int length);
    virtual CPackageHierarchyNode *setFileByPath(const QByteArray &bytes, bool isPath,
                                                 const QString &path);

    virtual int getNodeCount() const;
    virtual CPackageHierarchyNode *getNodeByIndex(unsigned int index) const;
    // High half: size on disk; low half: size in the package.
    virtual quint64 getPackageFileSizePairByNode(const CPackageHierarchyNode *node) const;

    virtual bool generateInternalDirectoryStructure() = 0;

    // Reverts a leaf to the package's state: its pending data and its
    // deletion mark go. A leaf that is not in the package cannot be reverted.
    virtual bool fileRevertByNode(CPackageHierarchyNode *node);
    virtual bool fileRevertByPath(const QString &path);
    // Puts the file at `diskPath` at `packagePath`, read at flush time. An
    // existing leaf there gets the new data only with `replace`. The new or
    // changed leaf, or null with lastError set.
    virtual CPackageHierarchyNode *fileAddFromDisk(const QString &packagePath,
                                                   const QString &diskPath, bool replace);

    QString getLastError() const { return lastError; }
    void setLastError(const QString &text) const { lastError = text; }

    // A package path cut at "/" and "\", empty parts dropped.
    static QStringList splitPackagePath(const QString &path);

protected:
    // The checks every by-node operation makes first.
    bool checkNode(const CPackageHierarchyNode *node) const;
    // Forgets the whole tree, so that a failed opening leaves none behind.
    void dropTree();
    // False, with the error set, unless the device exists and is open for writing.
    bool checkOutputDevice(const QIODevice *device,
                           const QString &nullError
                           = QStringLiteral("Write Error: Device invalid")) const;
    CPackageHierarchyNode *leafByPath(const QString &path) const;
    bool writeFileFromPath(QIODevice *device, const QByteArray &pathBytes) const;
    // `length` bytes (all ones: to the device's end) of an open, readable device.
    bool readFromDevice(QIODevice &device, unsigned int length, QByteArray &bytes) const;

    mutable QString lastError;
    mutable QFile file;
    mutable QDataStream stream;
    CPackageHierarchyNode *root;
    QVector<CPackageHierarchyNode *> nodes;
};
