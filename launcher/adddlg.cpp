#include "adddlg.h"

#include "profilerules.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpressionValidator>
#include <QVBoxLayout>

namespace {

// Whether the field's text may go ahead; *quoted is set for a name with a double quote, which
// the hint explains. Names follow the same rule as profile names: the file must carry them.
bool IsAcceptable(const AddDlgField& field, bool* quoted)
{
    const QString text = field.edit->text();
    switch (field.type) {
    case FieldNumber: {
        bool ok = false;
        const qint64 value = text.toLongLong(&ok, 10);
        return ok && value >= 1;
    }
    case FieldText: {
        const NameFault fault = NameFormatFault(text);
        *quoted = *quoted || fault == NameFault::Quote;
        return fault == NameFault::None;
    }
    default:
        return true;
    }
}

} // namespace

AddDlg::AddDlg(QWidget* parent, const QString& title, const QList<AddDlgField>& fields)
    : QDialog(parent), m_fields(fields)
{
    setWindowTitle(title);
    setSizeGripEnabled(true);
    auto* top = new QVBoxLayout;
    auto* form = new QFormLayout;
    for (AddDlgField& field : m_fields) {
        field.edit = new QLineEdit;
        if (field.type == FieldNumber) {
            field.edit->setValidator(new QRegularExpressionValidator(
                QRegularExpression(QStringLiteral("^[1-9]+[0-9]*$")), this));
        }
        connect(field.edit, &QLineEdit::textChanged, this, &AddDlg::OnTextEdit);
        form->addRow(field.label, field.edit);
    }
    top->addLayout(form);

    m_quoteHint = new QLabel(QStringLiteral("Names can't contain a double quote (\")."));
    m_quoteHint->setVisible(false);
    top->addWidget(m_quoteHint);

    auto* buttons = new QDialogButtonBox;
    m_okButton = buttons->addButton(QStringLiteral("OK"), QDialogButtonBox::AcceptRole);
    buttons->addButton(QStringLiteral("Cancel"), QDialogButtonBox::RejectRole);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    m_okButton->setEnabled(false);
    top->addWidget(buttons);
    setLayout(top);
}

void AddDlg::OnTextEdit()
{
    bool acceptable = true;
    bool quoted = false;
    for (const AddDlgField& field : m_fields)
        acceptable = IsAcceptable(field, &quoted) && acceptable;
    m_okButton->setEnabled(acceptable);
    m_quoteHint->setVisible(quoted);
}
