#include "filer_fixture.h"

namespace igeslib_test {

std::vector<std::string> FilerOver::errors() const { return report_lines(reports); }

}  // namespace igeslib_test
