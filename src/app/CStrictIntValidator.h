#pragma once

#include <QIntValidator>

// An integer validator that refuses, while the user types, a number above its top. The plain
// integer validator treats such a number as intermediate as long as it has no more digits than the
// top, so "200" would stand in a field that accepts 1 to 199; the options dialog needs it refused
// at the keystroke, so the field can never show it.
class CStrictIntValidator : public QIntValidator
{
    Q_OBJECT

public:
    CStrictIntValidator(int nBottom, int nTop, QObject *parent = nullptr);

    State validate(QString &qstrInput, int &nPos) const override;
};
