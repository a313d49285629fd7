// Runs after the end-to-end programs: every answer docs/openapi.yaml
// describes (endpoint, method, status) must have been received, and held
// against the document, by at least one of them in this run.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "support/openapi_check.h"

namespace orvo {
namespace test {
namespace {

TEST(ApiCoverage, EveryDocumentedAnswerWasExercised) {
  std::vector<std::string> const documented = documentedAnswers();
  ASSERT_GT(documented.size(), 19u) << "the bundled document lists too little";
  std::vector<std::string> const seen = exercisedAnswers();
  std::set<std::string> const exercised(seen.begin(), seen.end());
  std::vector<std::string> missing;
  std::copy_if(documented.begin(), documented.end(), std::back_inserter(missing),
               [&](std::string const& answer) { return exercised.count(answer) == 0; });
  std::string list;
  for (std::string const& answer : missing) list += "\n  " + answer;
  EXPECT_TRUE(missing.empty()) << missing.size() << " of " << documented.size()
                               << " documented answers (endpoint method status) were never received:" << list;
}

}  // namespace
}  // namespace test
}  // namespace orvo
