#include "editing/FormatterLineEditAdaptor.h"

#include "editing/CFormatter.h"
#include "foundation/Logging.h"

#include <QLineEdit>
#include <utility>

FormatterLineEditAdaptor::FormatterLineEditAdaptor(QLineEdit* lineEdit,
                                                   std::unique_ptr<CFormatter> formatter,
                                                   QObject* parent)
    : QObject(parent ? parent : lineEdit)
    , _lineEdit(lineEdit)
    , _formatter(std::move(formatter)) {
    Q_ASSERT(_lineEdit && _formatter);
    connect(_lineEdit, &QLineEdit::editingFinished, this,
            &FormatterLineEditAdaptor::readEditedText);
    showValue();
}

FormatterLineEditAdaptor::~FormatterLineEditAdaptor() = default;

void FormatterLineEditAdaptor::setValue(const QVariant& value) {
    _value = value;
    showValue();
}

void FormatterLineEditAdaptor::showValue() {
    _lineEdit->setText(_formatter->stringForObjectValue(_value));
    _lineEdit->setModified(false);
    _lineEdit->setToolTip(QString());
}

void FormatterLineEditAdaptor::readEditedText() {
    if (!_lineEdit->isModified()) {
        return;
    }
    QVariant parsed;
    QString error;
    if (!_formatter->getObjectValue(&parsed, _lineEdit->text(), &error)) {
        qCDebug(lcEditing) << "refused" << _lineEdit->text() << ":" << error;
        _lineEdit->setToolTip(error);
        emit conversionFailed(error);
        return;
    }
    setValue(parsed);
    emit valueChanged(_value);
}
