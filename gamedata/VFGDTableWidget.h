#pragma once

#include <QTableWidget>

// A table that hands the Up and Down keys to its owner instead of moving the selection.
class VFGDTableWidget : public QTableWidget
{
    Q_OBJECT

public:
    explicit VFGDTableWidget(QWidget *parent = nullptr);

Q_SIGNALS:
    void upArrowPressed();
    void downArrowPressed();

protected:
    void keyPressEvent(QKeyEvent *event) override;
};
