#pragma once

namespace quillmark {

class Workspace;

/// The window's two links open a page of the vendor's in the user's browser. Main thread.
void termsAndConditionClicked(Workspace &workspace);
void privacyPolicyClicked(Workspace &workspace);

}  // namespace quillmark
