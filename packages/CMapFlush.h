#pragma once

#include "packages/CDelegateBSP.h"

class FlushSyncronizer;
class QFile;

// One flush of a map: writes every lump, pending changes included, and a new
// pakfile archive into "<map>.tmp", swaps it for the map (the old one stays as
// "<map>.backup"), and brings the delegate's tables in line with the new
// file. Until the swap the map on disk is not touched.
class CMapFlush
{
public:
    CMapFlush(CDelegateBSP &bsp, FlushSyncronizer *sync);
    bool run();

private:
    bool fail(QFile &temporary, const QString &text);
    bool writeLumps(QFile &out, CDelegateBSP::Lump_s *newLumps);
    QByteArray header(const CDelegateBSP::Lump_s *newLumps) const;
    void takeOver(const CDelegateBSP::Lump_s *newLumps, const QVector<ZIPEntry_t> &records,
                  const ZIPEndRecord &end);

    CDelegateBSP &bsp;
    FlushSyncronizer *sync;
};
