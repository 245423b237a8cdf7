#pragma once

#include "support/Platform.h"

// Shows what core code says to the operator as a message box with an OK button.
class MessageBoxNotifier : public Notifier {
public:
    void show(const Notice &notice) override;
};
