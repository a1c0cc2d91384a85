#pragma once

// Draws chosen items of one menu with their titles in a colour: the output menus show
// each output's name in the output's colour. Qt's menu items carry no text colour of
// their own, so the menu gets this thin style over the application's, which draws every
// item natively and only changes the text colour of the items it was told about (by
// title; a selected item keeps the highlighted-text colour so it stays readable).
//
// Install with forMenu(); the style belongs to the menu and goes with it. Main thread only.

#include <QColor>
#include <QHash>
#include <QProxyStyle>
#include <QString>

class QMenu;

class OutputMenuStyle : public QProxyStyle {
    Q_OBJECT
public:
    // The style of `menu`, installed on first use.
    static OutputMenuStyle* forMenu(QMenu* menu);

    // Items titled `title` (as the action's text) are drawn in `color`.
    void setTitleColor(const QString& title, const QColor& color);
    // The colour for items titled `title`; invalid when none was set.
    QColor titleColor(const QString& title) const;
    void clearTitleColors() { _titleColors.clear(); }

    void drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget = nullptr) const override;

private:
    OutputMenuStyle() = default;

    QHash<QString, QColor> _titleColors;
};
