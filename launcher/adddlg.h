#pragma once

#include <QDialog>
#include <QList>

class QLabel;
class QLineEdit;
class QPushButton;

enum AddDlgFieldType {
    FieldText = 0,
    FieldNumber = 1,
};

struct AddDlgField
{
    int type = FieldText;
    QString label;
    QLineEdit* edit = nullptr; // filled in the dialog's own copy; owned by the dialog
};

// A modal dialog with one line edit per field whose "OK" is enabled only while every field
// holds an acceptable value. The caller reads the texts from m_fields after exec().
class AddDlg : public QDialog
{
    Q_OBJECT

public:
    AddDlg(QWidget* parent, const QString& title, const QList<AddDlgField>& fields);
    ~AddDlg() override = default;

    QList<AddDlgField> m_fields;

public slots:
    void OnTextEdit();

private:
    QPushButton* m_okButton = nullptr;
    QLabel* m_quoteHint = nullptr;
};
