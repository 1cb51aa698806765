// On Intel both systems call by the same rules.

#include "slice/loader.hpp"

namespace quillmark::slice {

const void *functionForImage(const std::string &, const void *function) { return function; }

IMP methodForSystem(const char *, IMP method) { return method; }

}  // namespace quillmark::slice
