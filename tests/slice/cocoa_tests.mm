// What the tests of tests/cocoa link to of an installer that is compiled in.

#include "slice/image.hpp"

extern "C" unsigned char *isRMMLaunchOfSlice() {
  const auto *const variables = quillmark::slice::running->find("__common");
  if (variables == nullptr || variables->size != 1) quillmark::slice::refuse("isRMMLaunch is not alone in __common");
  return reinterpret_cast<unsigned char *>(variables->address);
}
