#include "support/mutants.h"

#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <sstream>
#include <utility>
#include <vector>

namespace igeslib_test {

namespace {

// Deterministic choices: FNV-1a of the name, the mutation and the round, then a linear
// congruential generator.
struct Choices {
  std::uint64_t state = 1469598103934665603ull;
  Choices(const std::string& name, int mutation, unsigned round) {
    for (char c : name + char('A' + mutation) + std::to_string(round))
      state = (state ^ static_cast<unsigned char>(c)) * 1099511628211ull;
  }
  std::size_t below(std::size_t n) {
    state = state * 6364136223846793005ull + 1442695040888963407ull;
    return n ? static_cast<std::size_t>((state >> 33) % n) : 0;
  }
};

// A file as its records, each with its line end, and where each section's records are.
struct Records {
  std::vector<std::string> lines;
  std::map<char, std::vector<std::size_t>> section;

  explicit Records(const std::string& bytes) {
    std::istringstream in(bytes);
    for (std::string line; std::getline(in, line);) {
      if (line.size() > 72) section[line[72]].push_back(lines.size());
      lines.push_back(line + (in.eof() ? "" : "\n"));
    }
  }
  std::string text() const {
    std::string out;
    for (const std::string& line : lines) out += line;
    return out;
  }
};

// A token of free-form data: from its first column to the delimiter behind it.
struct Token {
  std::size_t begin, end;
};

// The tokens of free-form text up to its record delimiter; a string is taken whole by its
// count, delimiters in it and all.
std::vector<Token> tokens_of(const std::string& text, char parameter, char record) {
  std::vector<Token> tokens;
  std::size_t start = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    char c = text[i];
    if (c == parameter || c == record) {
      tokens.push_back({start, i});
      if (c == record) break;
      start = i + 1;
    } else if (c == 'H') {
      std::string count = text.substr(start, i - start);
      std::size_t first = count.find_first_not_of(' ');
      if (first != std::string::npos &&
          count.find_first_not_of("0123456789", first) == std::string::npos)
        i += std::strtoul(count.c_str() + first, nullptr, 10);
    }
  }
  return tokens;
}

// The data columns [0, width) of the lines, one after the other.
std::string data_of(const Records& file, const std::vector<std::size_t>& lines, std::size_t width) {
  std::string text;
  for (std::size_t at : lines) text += file.lines[at].substr(0, width);
  return text;
}

// The token at [begin, end) of a line replaced by text: blanks behind a shorter one, the rest
// of the line pushed into its trailing blanks for a longer one. False when there is no room.
bool replace(std::string& line, std::size_t begin, std::size_t end, const std::string& text,
             std::size_t width) {
  std::size_t old = end - begin;
  if (text.size() <= old) {
    line.replace(begin, old, text + std::string(old - text.size(), ' '));
    return true;
  }
  std::size_t more = text.size() - old;
  if (width < end + more || line.find_first_not_of(' ', width - more) < width) return false;
  line.erase(width - more, more);
  line.replace(begin, old, text);
  return true;
}

// Text right-justified in width columns.
std::string right(const std::string& text, std::size_t width) {
  return std::string(width > text.size() ? width - text.size() : 0, ' ') + text;
}

// The value a field takes for the mutation: "" for an empty field.
std::string value_for(Mutation mutation, const std::string& token, const std::string& pointer,
                      const std::string& past_end) {
  switch (mutation) {
    case Mutation::global_zero:
    case Mutation::directory_zero:
    case Mutation::parameter_zero:
      return "0";
    case Mutation::global_negative:
    case Mutation::directory_negative:
    case Mutation::parameter_negative: {
      // A number negated, anything else a negative pointer.
      std::size_t first = token.find_first_not_of(" +");
      std::size_t last = token.find_last_not_of(' ');
      if (first != std::string::npos && std::isdigit(static_cast<unsigned char>(token[first])))
        return "-" + token.substr(first, last - first + 1);
      return "-" + pointer;
    }
    case Mutation::directory_past_end:
    case Mutation::parameter_past_end:
      return past_end;
    default:
      return "";
  }
}

}  // namespace

std::string mutant(const std::string& bytes, const std::string& name, Mutation mutation,
                   unsigned round) {
  const int kind = static_cast<int>(mutation);
  Choices choose(name, kind, round);
  Records file(bytes);
  std::vector<std::size_t>&g = file.section['G'], &d = file.section['D'], &p = file.section['P'];
  std::size_t entities = d.size() / 2;
  if (g.empty() || entities == 0 || p.empty()) return "";
  auto pointer = [&] { return std::to_string(2 * choose.below(entities) + 1); };
  const std::string past_end = std::to_string(2 * entities + 1 + 2 * choose.below(4));

  std::string global = data_of(file, g, 72);
  char parameter = global.compare(0, 2, "1H") == 0 ? global[2] : ',';
  std::size_t second = global.compare(0, 2, "1H") == 0 ? 4 : 1;
  char record = global.compare(second, 2, "1H") == 0 ? global[second + 2] : ';';

  if (kind <= static_cast<int>(Mutation::global_past_end)) {
    std::vector<Token> tokens = tokens_of(global, parameter, record);
    if (tokens.size() < 3) return "";
    Token t = tokens[2 + choose.below(tokens.size() - 2)];
    if (mutation == Mutation::global_past_end) {
      // The section ends before the field: its delimiter becomes the record delimiter.
      std::size_t at = t.begin - 1;
      std::string& line = file.lines[g[at / 72]];
      line[at % 72] = record;
      line.replace(at % 72 + 1, 72 - at % 72 - 1, 72 - at % 72 - 1, ' ');
      for (std::size_t i = g.size(); i-- > at / 72 + 1;)
        file.lines.erase(file.lines.begin() + static_cast<long>(g[i]));
    } else {
      if (t.begin / 72 != (t.end ? t.end - 1 : 0) / 72 && t.end > t.begin) return "";
      std::string token = global.substr(t.begin, t.end - t.begin);
      if (!replace(file.lines[g[t.begin / 72]], t.begin % 72, t.begin % 72 + token.size(),
                   value_for(mutation, token, pointer(), past_end), 72))
        return "";
    }
  } else if (kind <= static_cast<int>(Mutation::directory_past_end)) {
    // Fields of record one, then of record two: start column (0-based) and width. The entity
    // type, which decides the class, stays.
    static const struct {
      int record;
      std::size_t column, width;
    } kFields[] = {{0, 8, 8},  {0, 16, 8}, {0, 24, 8}, {0, 32, 8}, {0, 40, 8}, {0, 48, 8},
                   {0, 56, 8}, {0, 64, 2}, {0, 66, 2}, {0, 68, 2}, {0, 70, 2}, {1, 8, 8},
                   {1, 16, 8}, {1, 24, 8}, {1, 32, 8}, {1, 56, 8}, {1, 64, 8}};
    auto f = kFields[choose.below(sizeof kFields / sizeof *kFields)];
    std::string& line = file.lines[d[2 * choose.below(entities) + f.record]];
    std::string value =
        f.width == 2 && mutation == Mutation::directory_negative ? "-1"
        : f.width == 2 && mutation == Mutation::directory_past_end
            ? "9"
            : value_for(mutation, line.substr(f.column, f.width), pointer(), past_end);
    if (value.size() > f.width) return "";
    line.replace(f.column, f.width, right(value, f.width));
  } else if (kind <= static_cast<int>(Mutation::parameter_past_end) ||
             mutation == Mutation::parameter_pointer_moved) {
    // A token of one entity's parameters, not its entity type, that stands on one line.
    std::map<int, std::vector<std::size_t>> records;
    for (std::size_t at : p) records[std::atoi(file.lines[at].substr(65, 7).c_str())].push_back(at);
    std::vector<const std::vector<std::size_t>*> owners;
    for (auto& [number, lines] : records) owners.push_back(&lines);
    for (int attempt = 0; attempt < 8; ++attempt) {
      const std::vector<std::size_t>& lines = *owners[choose.below(owners.size())];
      std::string text = data_of(file, lines, 64);
      std::vector<Token> tokens = tokens_of(text, parameter, record);
      if (tokens.size() < 2) continue;
      Token t = tokens[1 + choose.below(tokens.size() - 1)];
      if (t.end > t.begin && t.begin / 64 != (t.end - 1) / 64) continue;
      std::string token = text.substr(t.begin, t.end - t.begin);
      std::string value;
      if (mutation == Mutation::parameter_pointer_moved) {
        // An integer pointed at another entity, in the columns it had.
        if (token.empty() || token.find_first_not_of("0123456789") != std::string::npos) continue;
        value = pointer();
        if (value.size() > token.size()) continue;
        value = std::string(token.size() - value.size(), '0') + value;
      } else {
        value = value_for(mutation, token, pointer(), past_end);
      }
      if (replace(file.lines[lines[t.begin / 64]], t.begin % 64, t.end - t.begin / 64 * 64, value,
                  64))
        break;
    }
  } else if (mutation == Mutation::parameter_line_dropped) {
    file.lines.erase(file.lines.begin() + static_cast<long>(p[choose.below(p.size())]));
  } else if (mutation == Mutation::directory_pair_dropped) {
    std::size_t pair = 2 * choose.below(entities);
    file.lines.erase(file.lines.begin() + static_cast<long>(d[pair]),
                     file.lines.begin() + static_cast<long>(d[pair + 1]) + 1);
  } else if (mutation == Mutation::definitions_moved) {
    std::string& one = file.lines[d[2 * choose.below(entities)]];
    std::string& two = file.lines[d[2 * choose.below(entities) + 1]];
    for (auto [line, column] : {std::pair{&one, 24u}, std::pair{&one, 32u}, std::pair{&two, 16u}})
      line->replace(column, 8, right("-" + pointer(), 8));
  }
  std::string out = file.text();
  return out == bytes ? "" : out;
}

}  // namespace igeslib_test
