#pragma once

// Lets a QLineEdit show and edit a number through any CFormatter. The field shows
// stringForObjectValue() of the adaptor's value; when the operator finishes editing, the
// text is read back with getObjectValue(). A refused text stays in the field for
// correction, the message becomes the field's tool tip and is signalled, and the value
// does not change. Unedited text is never re-read (a level field showing "-inf" would
// otherwise read back as unity). Main thread only.

#include <QObject>
#include <QVariant>
#include <memory>

class CFormatter;
class QLineEdit;

class FormatterLineEditAdaptor : public QObject {
    Q_OBJECT
public:
    // Serves `lineEdit` (which must outlive the adaptor; by default it is the parent) with
    // `formatter`, which the adaptor owns.
    FormatterLineEditAdaptor(QLineEdit* lineEdit, std::unique_ptr<CFormatter> formatter,
                             QObject* parent = nullptr);
    ~FormatterLineEditAdaptor() override;

    QVariant value() const { return _value; }
    // Shows `value` in the field (clearing any refusal) without emitting valueChanged.
    void setValue(const QVariant& value);

    CFormatter& formatter() const { return *_formatter; }
    QLineEdit* lineEdit() const { return _lineEdit; }

signals:
    // The operator entered a text the formatter accepted.
    void valueChanged(const QVariant& value);
    // The operator's text was refused; `message` says why ("Couldn't convert to time").
    void conversionFailed(const QString& message);

private:
    void readEditedText();
    void showValue();

    QLineEdit* _lineEdit;
    std::unique_ptr<CFormatter> _formatter;
    QVariant _value;
};
