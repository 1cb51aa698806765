#include "window/links.hpp"

#include <string>

#include "platform/appkit.hpp"
#include "platform/ignore.hpp"

#ifndef QUILLMARK_VENDOR_HOST
#error "QUILLMARK_VENDOR_HOST names the vendor's web host, such as \"www.example.com\""
#endif

namespace quillmark {

namespace {

void openVendorPage(Workspace &workspace, const std::string &path) {
  // The browser tells the user what went wrong; the installer has nothing to add.
  ignore(workspace.openURL("https://" QUILLMARK_VENDOR_HOST + path));
}

}  // namespace

void termsAndConditionClicked(Workspace &workspace) { openVendorPage(workspace, "/terms-and-conditions"); }

void privacyPolicyClicked(Workspace &workspace) { openVendorPage(workspace, "/privacy-policy-2/"); }

}  // namespace quillmark
