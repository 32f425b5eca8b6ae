#include "FyrL3Intf/FyrL3IntfTable.h"

#include <utility>

#include "Kob/Trace.h"

namespace FyrL3Intf {

namespace {

const Kob::TraceHandle& trace() {
  static const Kob::TraceHandle handle("FyrL3IntfSm", false);
  return handle;
}

}  // namespace

Table::Table(Kob::Name name, bool internalVlanNeeded)
    : Entity(std::move(name)), internalVlanNeeded_(internalVlanNeeded) {}

Table::~Table() { notifiees_.deleteAll(); }

L3Id Table::intfIdToL3Id(Plexo::IntfId intfId) const {
  const L3Id l3Id = intfL3Index(intfId);
  KOB_TRACE(trace(), 7, "<unknown>", "intfIdToL3Id",
            "intfIdToL3Id( " << intfId << " ) is " << l3Id);
  return l3Id;
}

Plexo::IntfId Table::l3IdToIntfId(const L3Id& l3Id) const {
  const Plexo::IntfId intfId = routedPortName(l3Id);
  KOB_TRACE(trace(), 7, "<unknown>", "l3IdToIntfId",
            "l3IdToIntfId( " << l3Id << " ) is " << intfId);
  return intfId;
}

void Table::intfL3IndexNotify(Plexo::IntfId intfId) {
  Kob::announce(notifiees_, intfL3IndexId,
                [intfId](NotifieeConst& notifiee) { notifiee.onIntfL3Index(intfId); });
}

void Table::routedPortNameNotify(const L3Id&) {}

void Table::zeroReferencesIs(bool) { Kob::announceZeroReferences(notifiees_); }

Table::NotifieeConst::~NotifieeConst() { leave(); }
void Table::NotifieeConst::onIntfL3Index(Plexo::IntfId) {}
void Table::NotifieeConst::onIntfL3IndexkobImmediate() {}
void Table::NotifieeConst::onIntfL3Index() {}
Table::Notifiee::~Notifiee() = default;

Kob::Ptr<Table> tableFactory(Kob::Name name, bool internalVlanNeeded) {
  return {new Table(std::move(name), internalVlanNeeded)};
}

}  // namespace FyrL3Intf
