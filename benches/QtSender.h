#pragma once

// An object with one Qt signal.

#include <QtCore/QObject>

#include "platform/IntfId.h"

namespace Benches {

class QtSender : public QObject {
  Q_OBJECT

 signals:
  void changed(Plexo::IntfId intfId);
};

}  // namespace Benches
