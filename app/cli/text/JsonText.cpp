#include "cli/text/JsonText.h"

#include <ostream>

namespace kelpie::cli {

void printJsonText(std::ostream& out, const OrderedJson& value) {
  out << value.dump(2, ' ', /*ensure_ascii=*/true, OrderedJson::error_handler_t::replace) << '\n';
}

}  // namespace kelpie::cli
