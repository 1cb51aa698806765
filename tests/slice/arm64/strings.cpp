// What the image takes of libc++ with std::string in it. A Mac's libc++ has another layout of it on arm64 than
// libc++.so.1: this is compiled with _LIBCPP_ABI_ALTERNATE_STRING_LAYOUT.

#include <charconv>
#include <iterator>
#include <stdexcept>
#include <string>

template class std::basic_string<char>;
template std::string std::operator+
    <char, std::char_traits<char>, std::allocator<char>>(const char *, const std::string &);

namespace {

template <typename Integer>
std::string decimal(Integer number) {
  char digits[24];
  return {digits, std::to_chars(std::begin(digits), std::end(digits), number).ptr};
}

}  // namespace

_LIBCPP_BEGIN_NAMESPACE_STD
string to_string(int number) { return decimal(number); }
string to_string(unsigned number) { return decimal(number); }
string to_string(long number) { return decimal(number); }
string to_string(unsigned long number) { return decimal(number); }
_LIBCPP_END_NAMESPACE_STD

// The text of an exception is a C string in either library.
std::runtime_error::runtime_error(const std::string &text) : runtime_error(text.c_str()) {}
std::logic_error::logic_error(const std::string &text) : logic_error(text.c_str()) {}
