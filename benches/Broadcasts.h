#pragma once

// Ways to call everybody who wants to hear of an interface, each under the same operations:
// `connect(receiver)` and a call with the interface. All receivers do the same, so that only the
// way to them differs.

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#ifdef BENCHES_BOOST
#include <boost/signals2/dummy_mutex.hpp>
#include <boost/signals2/signal.hpp>
#include <boost/signals2/signal_type.hpp>
#endif
#ifdef BENCHES_SIGC
#include <sigc++/sigc++.h>
#endif
#ifdef BENCHES_QT
#include "benches/QtSender.h"
#endif

#include "FyrL3Intf/FyrL3IntfTable.h"
#include "platform/IntfId.h"

namespace Benches {

/// What a receiver does: enough that it can not be left out.
class Heard {
 public:
  void hear(Plexo::IntfId intfId) noexcept { sum_ += intfId.kobReversedHash(); }

 private:
  std::uint64_t sum_ = 0;
};

/// Our receiver.
class Listener final : public FyrL3Intf::Table::NotifieeConst {
 public:
  using NotifieeConst::onIntfL3Index;
  void onIntfL3Index(Plexo::IntfId intfId) override { heard_.hear(intfId); }

 private:
  Heard heard_;
};

/// Receivers of one table.
class Listeners {
 public:
  Listeners(const Kob::Ptr<FyrL3Intf::Table>& table, std::size_t count) {
    while (listeners_.size() < count) {
      const Kob::Ptr<Listener> listener(new Listener);
      listener->notifierIs(table);
      listener->isRegisteredNotifieeIs(true);
      listeners_.push_back(listener);
    }
  }

 private:
  std::vector<Kob::Ptr<Listener>> listeners_;
};

/// Everybody else's receiver.
class Receiver {
 public:
  Receiver() = default;
  Receiver(const Receiver&) = delete;
  Receiver& operator=(const Receiver&) = delete;
  virtual ~Receiver() = default;
  virtual void on(Plexo::IntfId intfId) { heard_.hear(intfId); }

 private:
  Heard heard_;
};

/// The least that one could do: virtual calls in a loop.
class VirtualLoop {
 public:
  static constexpr const char* name = "virtual";
  void connect(Receiver& receiver) { receivers_.push_back(&receiver); }
  void operator()(Plexo::IntfId intfId) const {
    for (Receiver* const receiver : receivers_) receiver->on(intfId);
  }

 private:
  std::vector<Receiver*> receivers_;
};

class Functions {
 public:
  static constexpr const char* name = "function";
  void connect(Receiver& receiver) {
    functions_.emplace_back([&receiver](Plexo::IntfId intfId) { receiver.on(intfId); });
  }
  void operator()(Plexo::IntfId intfId) const {
    for (const auto& function : functions_) function(intfId);
  }

 private:
  std::vector<std::function<void(Plexo::IntfId)>> functions_;
};

#ifdef BENCHES_BOOST
/// As it comes, safe for threads.
class Signals2 {
 public:
  static constexpr const char* name = "signals2";
  void connect(Receiver& receiver) {
    signal_.connect([&receiver](Plexo::IntfId intfId) { receiver.on(intfId); });
  }
  void operator()(Plexo::IntfId intfId) { signal_(intfId); }

 private:
  boost::signals2::signal<void(Plexo::IntfId)> signal_;
};

/// For one thread: without its mutex.
class Signals2NoMutex {
 public:
  static constexpr const char* name = "signals2NoMutex";
  void connect(Receiver& receiver) {
    signal_.connect([&receiver](Plexo::IntfId intfId) { receiver.on(intfId); });
  }
  void operator()(Plexo::IntfId intfId) { signal_(intfId); }

 private:
  using Keywords = boost::signals2::signal_type<
      void(Plexo::IntfId), boost::signals2::keywords::mutex_type<boost::signals2::dummy_mutex>>;
  Keywords::type signal_;
};
#endif

#ifdef BENCHES_SIGC
class Sigc {
 public:
  static constexpr const char* name = "sigc";
  void connect(Receiver& receiver) { signal_.connect(sigc::mem_fun(receiver, &Receiver::on)); }
  void operator()(Plexo::IntfId intfId) const { signal_(intfId); }

 private:
  sigc::signal<void(Plexo::IntfId)> signal_;
};
#endif

#ifdef BENCHES_QT
/// Direct connections to a function object, in the context of the sender.
class Qt5 {
 public:
  static constexpr const char* name = "qt5";
  void connect(Receiver& receiver) {
    QObject::connect(
        &sender_, &QtSender::changed, &sender_,
        [&receiver](Plexo::IntfId intfId) { receiver.on(intfId); }, Qt::DirectConnection);
  }
  void operator()(Plexo::IntfId intfId) { emit sender_.changed(intfId); }

 private:
  QtSender sender_;
};
#endif

/// A broadcast with its receivers.
template <class Broadcast>
class Audience {
 public:
  Audience(Broadcast& broadcast, std::size_t count) {
    while (receivers_.size() < count) {
      receivers_.push_back(std::make_unique<Receiver>());
      broadcast.connect(*receivers_.back());
    }
  }

 private:
  std::vector<std::unique_ptr<Receiver>> receivers_;
};

}  // namespace Benches
