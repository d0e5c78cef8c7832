#include "CStrictIntValidator.h"

CStrictIntValidator::CStrictIntValidator(int nBottom, int nTop, QObject *parent)
    : QIntValidator(nBottom, nTop, parent)
{
}

QValidator::State CStrictIntValidator::validate(QString &qstrInput, int &nPos) const
{
    const State state = QIntValidator::validate(qstrInput, nPos);
    if (state != Intermediate)
        return state;
    bool bIsNumber = false;
    const qlonglong nValue = locale().toLongLong(qstrInput, &bIsNumber);
    return bIsNumber && nValue > top() ? Invalid : Intermediate;
}
