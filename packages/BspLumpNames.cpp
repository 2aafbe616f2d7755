#include "packages/BspLumpNames.h"

namespace {

// Names shared by all versions; nullptr where they differ or nothing is there.
const char *const commonNames[64] = { "Entities",
                                      "Planes",
                                      "Texdata",
                                      "Vertexes",
                                      "Visibility",
                                      "Nodes",
                                      "Texinfo",
                                      "Faces",
                                      "Lighting",
                                      "Occlusion",
                                      "Leaves",
                                      nullptr,
                                      "Edges",
                                      "Surfedges",
                                      "Models",
                                      "Worldlights",
                                      "LeafFaces",
                                      "LeafBrushes",
                                      "Brushes",
                                      "Brushsides",
                                      "Areas",
                                      "AreaPortals",
                                      nullptr,
                                      nullptr,
                                      nullptr,
                                      nullptr,
                                      "Dispinfo",
                                      "OriginalFaces",
                                      nullptr,
                                      "PhysCollide",
                                      "VertNormals",
                                      "VertNormalIndices",
                                      "DispLightmapAlphas",
                                      "DispVerts",
                                      "DispLightmapSamplePos",
                                      "GameLump",
                                      "LeafWaterData",
                                      "Primitives",
                                      "PrimVerts",
                                      "PrimIndices",
                                      "Pakfile",
                                      "ClipPortalVerts",
                                      "Cubemaps",
                                      "TexdataStringData",
                                      "TexdataStringTable",
                                      "Overlays",
                                      "LeafMinDistToWater",
                                      "FaceMacroTextureInfo",
                                      "DispTris",
                                      nullptr,
                                      "WaterOverlays",
                                      nullptr,
                                      nullptr,
                                      nullptr,
                                      nullptr,
                                      nullptr,
                                      nullptr,
                                      "XZipPakFile",
                                      "FacesHDR",
                                      nullptr,
                                      nullptr,
                                      nullptr,
                                      nullptr,
                                      nullptr };

const char *version19(int lump)
{
    switch (lump) {
    case 22:
        return "Portals";
    case 23:
        return "Clusters";
    case 24:
        return "PortalVerts";
    case 25:
        return "ClusterPortals";
    case 49:
        return "PhysCollideSurface";
    case 51:
        return "LightmapPages";
    case 52:
        return "LightmapPageInfos";
    default:
        return nullptr;
    }
}

// What versions 20 and 21 share beyond the common names.
const char *version20and21(int lump)
{
    switch (lump) {
    case 11:
        return "FaceIDs";
    case 28:
        return "PhysDisp";
    case 51:
        return "LeafAmbientIndexHDR";
    case 52:
        return "LeafAmbientIndex";
    case 59:
        return "MapFlags";
    case 60:
        return "OverlayFades";
    case 61:
        return "OverlaySystemLevels";
    default:
        return nullptr;
    }
}

const char *version20(int lump)
{
    switch (lump) {
    case 53:
        return "LightingHDR";
    case 54:
        return "WorldlightsHDR";
    case 55:
        return "LeafAmbientLightingHDR";
    case 56:
        return "LeafAmbientLighting";
    default:
        return version20and21(lump);
    }
}

const char *version21(int lump, bool standardOrder)
{
    switch (lump) {
    case 22:
        return "PropCollision";
    case 23:
        return "PropHulls";
    case 24:
        return "PropHullVerts";
    case 25:
        return "PropTris";
    case 49:
        return "PropBlob";
    case 62:
        return "PhysLevel";
    case 63:
        return standardOrder ? "DispMultiBlend" : nullptr;
    default:
        return version20and21(lump);
    }
}

} // namespace

QString BSP_lumpName(int lump, int internalVersion)
{
    if (lump < 0 || lump >= 64 || internalVersion < 19 || internalVersion > 22)
        return QStringLiteral("Unknown");
    const char *name = commonNames[lump];
    if (!name) {
        switch (internalVersion) {
        case 19:
            name = version19(lump);
            break;
        case 20:
            name = version20(lump);
            break;
        default:
            name = version21(lump, internalVersion == 22);
            break;
        }
    }
    return name ? QString::fromLatin1(name) : QStringLiteral("Unused");
}
