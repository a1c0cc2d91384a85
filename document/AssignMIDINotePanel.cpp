#include "document/AssignMIDINotePanel.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

AssignMIDINotePanel::AssignMIDINotePanel(QWidget* parent)
    : QDialog(parent) {
    setWindowTitle(QStringLiteral("Assign MIDI Note"));
    auto* layout = new QVBoxLayout(this);
    _text = new QLabel(this);
    _text->setWordWrap(true);
    layout->addWidget(_text);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Cancel, this);
    QPushButton* clear = buttons->addButton(QStringLiteral("Clear"), QDialogButtonBox::ResetRole);
    buttons->button(QDialogButtonBox::Cancel)->setDefault(true);
    layout->addWidget(buttons);
    connect(clear, &QPushButton::clicked, this, &AssignMIDINotePanel::clearRequested);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(this, &QDialog::rejected, this, &AssignMIDINotePanel::cancelled);
}

void AssignMIDINotePanel::setText(const QString& text) {
    _text->setText(text);
}

QString AssignMIDINotePanel::text() const {
    return _text->text();
}
