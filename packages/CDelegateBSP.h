#pragma once

#include "packages/IPackageDelegate.h"
#include "packages/ZipRecords.h"
#include "util/CPair.h"

#include <QVector>

// A compiled map as a package: its 64 lumps are the files of the directory
// "lumps" (entries 0 to 63), and the ZIP archive in the Pakfile lump gives
// the rest of the tree (entries 64 and up, in central directory order).
class CDelegateBSP : public IPackageDelegate
{
public:
    enum Lump_t {
        Lump_Entities = 0,
        Lump_Planes,
        Lump_Texdata,
        Lump_Vertexes,
        Lump_Visibility,
        Lump_Nodes,
        Lump_Texinfo,
        Lump_Faces,
        Lump_Lighting,
        Lump_Occlusion,
        Lump_Leaves,
        Lump_FaceIDs,
        Lump_Edges,
        Lump_Surfedges,
        Lump_Models,
        Lump_Worldlights,
        Lump_LeafFaces,
        Lump_LeafBrushes,
        Lump_Brushes,
        Lump_Brushsides,
        Lump_Areas,
        Lump_AreaPortals,
        Lump_PropCollision,
        Lump_PropHulls,
        Lump_PropHullVerts,
        Lump_PropTris,
        Lump_Dispinfo,
        Lump_OriginalFaces,
        Lump_PhysDisp,
        Lump_PhysCollide,
        Lump_VertNormals,
        Lump_VertNormalIndices,
        Lump_DispLightmapAlphas,
        Lump_DispVerts,
        Lump_DispLightmapSamplePos,
        Lump_GameLump,
        Lump_LeafWaterData,
        Lump_Primitives,
        Lump_PrimVerts,
        Lump_PrimIndices,
        Lump_Pakfile,
        Lump_ClipPortalVerts,
        Lump_Cubemaps,
        Lump_TexdataStringData,
        Lump_TexdataStringTable,
        Lump_Overlays,
        Lump_LeafMinDistToWater,
        Lump_FaceMacroTextureInfo,
        Lump_DispTris,
        Lump_PropBlob,
        Lump_WaterOverlays,
        Lump_LeafAmbientIndexHDR,
        Lump_LeafAmbientIndex,
        Lump_LightingHDR,
        Lump_WorldlightsHDR,
        Lump_LeafAmbientLightingHDR,
        Lump_LeafAmbientLighting,
        Lump_XZipPakFile,
        Lump_FacesHDR,
        Lump_MapFlags,
        Lump_OverlayFades,
        Lump_OverlaySystemLevels,
        Lump_PhysLevel,
        Lump_DispMultiBlend,
        Lump_Count
    };

    enum LumpDataField_t {
        LumpField_Offset = 1,
        LumpField_Length = 2,
        LumpField_Version = 3,
        LumpField_FourCC = 4
    };

    // Flags of writePakfileZip. The pakfile editor's export passes both (40).
    enum ZipWriteFlag_t {
        // Write the current state: pending data, deletions and new files.
        // Without it, the entries as they stand in the package.
        ZipWrite_PendingChanges = 0x08,
        // End the archive with a comment length of 0 and no comment, so that
        // the caller can append one of its own.
        ZipWrite_NoComment = 0x20
    };

    struct Lump_s
    {
        quint32 offset = 0;
        quint32 length = 0;
        qint32 version = 0;
        quint32 fourCC = 0; // as read: the first character in the lowest byte
    };

    struct GameLump_t
    {
        quint32 id = 0;
        quint16 flags = 0;
        quint16 version = 0;
        quint32 offset = 0; // absolute in the map file
        quint32 length = 0;
    };

    static constexpr quint32 Magic = 0x50534256; // "VBSP"
    static constexpr int HeaderSize = 1036;
    static constexpr quint32 StaticPropId = 0x73707270; // "sprp"

    CDelegateBSP();
    ~CDelegateBSP() override;

    bool openPackage(const QString &path, bool readOnly) override;
    void closePackage() override;
    int getPackageType() const override { return PackageType_BSP; }
    bool flush(FlushSyncronizer *sync) override;
    bool isPackageFileAtIndex(unsigned int index) const override;
    unsigned int getPackageFileSizeByIndex(unsigned int index) const override;
    unsigned int getPackageFileSizeOnDiskByIndex(unsigned int index) const override;
    using IPackageDelegate::getPackageFileByIndex;
    bool getPackageFileByIndex(QIODevice *device, unsigned int index) const override;
    bool generateInternalDirectoryStructure() override;

    unsigned int getLumpInfo(Lump_t lump, LumpDataField_t field) const;
    // The lump's name under this map's internal version.
    QString getLumpName(Lump_t lump) const;
    // 19, 20, 21 (version 21, reordered lump entries) or 22 (version 21,
    // standard lump entries).
    int getInternalVersion() const { return internalVersion; }
    int getMapRevision() const { return mapRevision; }

    int getGameLumpIndexByID(quint32 id) const;
    int getGameLumpCount() const { return gameLumps.size(); }
    const CPair<GameLump_t, QByteArray> &getGameLump(int i) const { return gameLumps.at(i); }
    QVector<QByteArray> getGameLumpPropStatic() const;
    QVector<QByteArray> getEntityKeyvalueList() const;
    QVector<QByteArray> getBrushTextureList() const;
    bool setBrushTextureList(const QVector<QByteArray> &names);
    bool reloadGameLump();

    QByteArray getPakfileComment() const { return zipEnd.comment; }
    QString getPakfileCommentTrimmed() const;
    // Pakfile entry i is the table entry 64 + i; new files count too.
    int getPakfileEntryCount() const { return qMax(0, nodes.size() - Lump_Count); }
    // The ZIP records of a table entry that is in the package, else null.
    const ZIPEntry_t *getPakfileEntry(unsigned int index) const;
    // Writes the pakfile as a stand-alone ZIP archive at the device's
    // position. See ZipWriteFlag_t.
    bool writePakfileZip(QIODevice *device, unsigned int flags);

private:
    void clearContent();
    bool readHeader();
    bool readPakfile();
    // The pakfile nodes to write: with `pending`, the current state (kept
    // entries and new files), else the entries as in the package.
    QVector<CPackageHierarchyNode *> chooseEntries(bool pending) const;
    // Copies of the old records for entries of the package, new ones else.
    QVector<ZIPEntry_t> workingRecords(const QVector<CPackageHierarchyNode *> &chosen) const;

    friend class CMapFlush;

    quint32 magic;
    int internalVersion;
    Lump_s lumps[Lump_Count];
    qint32 mapRevision;
    QVector<CPair<GameLump_t, QByteArray>> gameLumps;
    QVector<ZIPEntry_t *> zipEntries;
    ZIPEndRecord zipEnd;
};
