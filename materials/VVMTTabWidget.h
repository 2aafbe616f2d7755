#pragma once

#include <QRect>
#include <QTabWidget>

// The vocabulary tabs of the VMT editor. getTabBarArea tells how much room the tabs take, so
// that the window can be kept from cutting one off.
class VVMTTabWidget : public QTabWidget
{
    Q_OBJECT

public:
    explicit VVMTTabWidget(QWidget *parent = nullptr);

    // Null without a tab bar or tabs. With tabs north or south: the tabs' widths summed by the
    // tallest tab; west or east: the tallest tab width by the tabs' heights summed. It starts at
    // the tab bar's position.
    QRect getTabBarArea() const;
};
