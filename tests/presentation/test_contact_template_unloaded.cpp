// A template built where the item's string table is missing: the first label that can't be loaded
// stops the construction through the resource failure, logged under the template's name.
#include <doctest/doctest.h>
#include <windows.h>
#include <string>
#include <vector>
#include "OwnThread.h"
#include "ProgramLog.h"
#include "TestPaths.h"
#include "foundation/Diagnostics.h"
#include "presentation/ContactTemplate.h"
#include "resources/resource.h"

TEST_CASE(
    "a label missing from the string table stops the template's construction, logged as ContactTemplate") {
  std::wstring log = FreshProgramLog();
  ContactTemplate* built = nullptr;
  ownthread::Outcome raised = ownthread::RunChecked([&] { built = new ContactTemplate; });
  CHECK(raised.raised);
  CHECK(raised.code == EXCEPTION_RESOURCE_LOADING_FAILED);
  CHECK(raised.parameters == 1u);
  // The first label of the first section.
  CHECK(raised.firstParameter == IDS_LABEL_NAME);
  CHECK(built == nullptr);
  std::vector<std::string> messages = LogMessages(log);
  REQUIRE(messages.size() == 1);
  const std::string expected = "Resource loading failed (id: 41147)\t\tContactTemplate:  (";
  CHECK(messages[0].compare(0, expected.size(), expected) == 0);
  DeleteFileW(log.c_str());
}
