// Requests a browser marks as coming from another site or origin, and the
// dispatcher's refusal of them for endpoints that change the camera.
#include <gtest/gtest.h>

#include "cgi_test_support.h"
#include "entry/cross_site.h"
#include "entry/dispatch.h"

using cgitest::CgiResult;
using cgitest::loggedAt;
using cgitest::runAsCgi;
using orvo::rest::isCrossSite;
using orvo::rest::RequestSource;

namespace {

TEST(CrossSite, FetchSiteOfAnotherSiteOrPortIsCrossSite) {
  // Another port of the camera's own address is the same site, but another origin.
  for (char const* site : {"cross-site", "same-site"}) {
    EXPECT_TRUE(isCrossSite({site, nullptr, "192.168.1.80"})) << site;
    EXPECT_TRUE(isCrossSite({site, "http://192.168.1.80", "192.168.1.80"})) << site;
  }
  for (char const* site : {"same-origin", "none", "", "CROSS-SITE"}) {
    EXPECT_FALSE(isCrossSite({site, nullptr, "192.168.1.80"})) << site;
  }
}

TEST(CrossSite, OriginMustNameTheHostAsked) {
  EXPECT_FALSE(isCrossSite({nullptr, "http://192.168.1.80:8080", "192.168.1.80:8080"}));
  EXPECT_FALSE(isCrossSite({nullptr, "https://camera.local", "camera.local"}));
  EXPECT_FALSE(isCrossSite({nullptr, "http://Camera.Local", "camera.local"}));
  EXPECT_TRUE(isCrossSite({nullptr, "http://192.168.1.80:8081", "192.168.1.80:8080"}));
  EXPECT_TRUE(isCrossSite({nullptr, "http://evil.example", "192.168.1.80"}));
  EXPECT_TRUE(isCrossSite({nullptr, "http://192.168.1.80.evil.example", "192.168.1.80"}));
  EXPECT_TRUE(isCrossSite({nullptr, "null", "192.168.1.80"}));
  EXPECT_TRUE(isCrossSite({nullptr, "ftp://192.168.1.80", "192.168.1.80"}));
  EXPECT_TRUE(isCrossSite({nullptr, "http://192.168.1.80", nullptr}));
  EXPECT_TRUE(isCrossSite({nullptr, "http://192.168.1.80", ""}));
  // A same-origin fetch that also says so passes.
  EXPECT_FALSE(isCrossSite({"same-origin", "http://192.168.1.80", "192.168.1.80"}));
}

TEST(CrossSite, ClientsThatSayNothingPass) {
  EXPECT_FALSE(isCrossSite({}));
  EXPECT_FALSE(isCrossSite({nullptr, nullptr, "192.168.1.80"}));
}

CgiResult dispatchFrom(std::string const& method, std::string const& request,
                       orvo::test::Environment extra) {
  extra["REQUEST_METHOD"] = method;
  extra["QUERY_STRING"] = "id=" + request;
  extra["REMOTE_ADDR"] = "10.0.0.9";
  return runAsCgi(extra, "", [request] { return processRestRequest(request); });
}

TEST(CrossSite, EndpointThatChangesTheCameraAnswers403BeforeAuthentication) {
  CgiResult run = dispatchFrom("GET", "1.2/reset",
                               {{"HTTP_SEC_FETCH_SITE", "same-site"},
                                {"HTTP_ORIGIN", "http://10.0.0.1:8081"},
                                {"HTTP_HOST", "10.0.0.1:8080"}});
  EXPECT_EQ(run.returned(), -1);
  EXPECT_EQ(run.out, "Status: 403\r\nConnection: close\r\n\r\n");
  EXPECT_EQ(loggedAt(run, "Cross-site request to 'reset' refused (Sec-Fetch-Site 'same-site', "
                          "Origin 'http://10.0.0.1:8081', Host '10.0.0.1:8080')"),
            "warning src/rest:processRestRequest");
  EXPECT_EQ(loggedAt(run, "Not yet authenticated to process 'reset' request"), "");
}

TEST(CrossSite, ReadOnlyEndpointIsNotRefused) {
  CgiResult run = dispatchFrom("GET", "1.2/version", {{"HTTP_SEC_FETCH_SITE", "cross-site"}});
  EXPECT_EQ(run.returned(), 0);
  EXPECT_EQ(run.out,
            "Status: 200\r\nContent-Type: application/json\r\nConnection: close\r\n\r\n"
            "{\"version\":\"1.2\"}");
}

TEST(CrossSite, SameOriginRequestGoesOnToAuthentication) {
  CgiResult run = dispatchFrom("POST", "1.2/reboot",
                               {{"HTTP_SEC_FETCH_SITE", "same-origin"},
                                {"HTTP_ORIGIN", "http://10.0.0.1"},
                                {"HTTP_HOST", "10.0.0.1"}});
  EXPECT_EQ(run.out, "Status: 401\r\nConnection: close\r\n\r\n");
}

}  // namespace
