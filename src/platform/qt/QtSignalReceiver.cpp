#include "platform/qt/QtSignalReceiver.h"

// The class has no body of its own: this file is where its meta object is compiled.
#include "moc_QtSignalReceiver.cpp"
