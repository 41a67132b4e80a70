// Sending contacts by infrared through the object model: one list of the given contacts, one send.
#include <doctest/doctest.h>
#include <windows.h>

#include <string>

#include "ObjectModelSupport.h"
#include "phone/Communication.h"
#include "plugins/PimObjectModel.h"

using omtest::EventsSince;
using omtest::JournalMark;

TEST_CASE("two contacts are sent as one list, in the given order") {
  CEOID first = omtest::WriteContact(L"Moss, Ivan");
  CEOID second = omtest::WriteContact(L"Hart, Gina");
  REQUIRE(first != 0);
  REQUIRE(second != 0);
  PimObjectModel model;
  size_t mark = JournalMark();
  Array<CEOID> ids;
  ids.Add(second);
  ids.Add(first);
  CHECK(model.BeamContacts(ids));
  std::vector<std::string> events = EventsSince(mark, "pimstore");
  REQUIRE(events.size() == 2);
  CHECK(events[0] == "logon window=0");
  CHECK(events[1] == "beam 2 contacts: " + std::to_string(second) + " " + std::to_string(first));
}

TEST_CASE("an empty list is a success and sends nothing") {
  PimObjectModel model;
  size_t mark = JournalMark();
  CHECK(model.BeamContacts(Array<CEOID>()));
  CHECK(EventsSince(mark, "pimstore").empty());
  CHECK(model.GetState() == PimObjectModel::NotTried);
}

TEST_CASE("a contact the database doesn't hold fails the send, and nothing is sent") {
  CEOID known = omtest::WriteContact(L"Ives, Hugo");
  REQUIRE(known != 0);
  PimObjectModel model;
  REQUIRE(model.Ensure());
  size_t mark = JournalMark();
  Array<CEOID> ids;
  ids.Add(known);
  ids.Add(known + 100000);
  CHECK_FALSE(model.BeamContacts(ids));
  CHECK(EventsSince(mark, "pimstore").empty());
  // The folder's list doesn't keep the contact added before the failure.
  Array<CEOID> one;
  one.Add(known);
  CHECK(model.BeamContacts(one));
  std::vector<std::string> events = EventsSince(mark, "pimstore");
  REQUIRE(events.size() == 1);
  CHECK(events[0] == "beam 1 contacts: " + std::to_string(known));
}

TEST_CASE("the list's Beam command reaches the object model through the communication actions") {
  CEOID first = omtest::WriteContact(L"Quinn, Otto");
  REQUIRE(first != 0);
  size_t mark = JournalMark();
  Array<CEOID> ids;
  ids.Add(first);
  CHECK(BeamContacts(ids));
  std::vector<std::string> events = EventsSince(mark, "pimstore");
  REQUIRE(!events.empty());
  CHECK(events.back() == "beam 1 contacts: " + std::to_string(first));
}
