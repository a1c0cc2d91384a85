#include "outputs/OutputMenuStyle.h"

#include "outputs/LegibleTextColor.h"

#include <QMenu>
#include <QStyleOptionMenuItem>

OutputMenuStyle* OutputMenuStyle::forMenu(QMenu* menu) {
    if (auto* installed = qobject_cast<OutputMenuStyle*>(menu->style())) {
        return installed;
    }
    auto* style = new OutputMenuStyle;
    style->setParent(menu);
    menu->setStyle(style);
    return style;
}

void OutputMenuStyle::setTitleColor(const QString& title, const QColor& color) {
    _titleColors.insert(title, color);
}

QColor OutputMenuStyle::titleColor(const QString& title) const {
    return _titleColors.value(title);
}

void OutputMenuStyle::drawControl(ControlElement element, const QStyleOption* option,
                                  QPainter* painter, const QWidget* widget) const {
    const auto* item = qstyleoption_cast<const QStyleOptionMenuItem*>(option);
    if (element != CE_MenuItem || !item || (item->state & State_Selected)) {
        QProxyStyle::drawControl(element, option, painter, widget);
        return;
    }
    // The text part of an item title is what precedes a tab (the shortcut follows it).
    const QColor color = titleColor(item->text.section(QLatin1Char('\t'), 0, 0));
    if (!color.isValid()) {
        QProxyStyle::drawControl(element, option, painter, widget);
        return;
    }
    QStyleOptionMenuItem coloured(*item);
    const QColor text = legibleTextColor(color, item->palette.color(QPalette::Window));
    for (const QPalette::ColorRole role :
         {QPalette::Text, QPalette::WindowText, QPalette::ButtonText}) {
        coloured.palette.setColor(QPalette::Active, role, text);
        coloured.palette.setColor(QPalette::Inactive, role, text);
    }
    QProxyStyle::drawControl(element, &coloured, painter, widget);
}
