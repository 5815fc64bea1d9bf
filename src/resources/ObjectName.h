#pragma once
// Gives a new object of a window the name that the code and the tests find it by, and hands
// it back, so that a control is made and named in one line:
//   tbUpper = named(new QLineEdit(this), "tbUpper");

#include <QObject>
#include <QString>

namespace quvo {

template <class T>
T* named(T* object, const char* name)
{
    object->setObjectName(QString::fromLatin1(name));
    return object;
}

} // namespace quvo
