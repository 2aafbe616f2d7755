#pragma once

#include "util/CPair.h"

#include <QDialog>
#include <QVector>

// "Pakfile Status": the pakfile lump's version, offset and length, its ZIP comment, and the
// number of packed files by type.
class VPakfileStatusDialog : public QDialog
{
    Q_OBJECT

public:
    VPakfileStatusDialog(unsigned int version, unsigned int offset, unsigned int length,
                         const QString &comment, const QVector<CPair<QString, int>> &statistics,
                         QWidget *parent = nullptr);
};
