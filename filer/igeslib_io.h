// IgeslibIO: the working record of one read or write of an IGES file. It holds the stream,
// the current 80-column record and the position in it, the delimiters in force, the section
// counters and the one reusable buffer behind string tokens. It lives on the stack of one
// run; entity code reaches it through the root object of the current design.
#pragma once

#include <bit>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <type_traits>
#include <vector>

#include "igeslib_registry.h"
#include "lumo.h"

class igs_iges_file;
class IgeslibPrescan;
struct IgeslibPreparedReal;
class igs_global;
class ListOfigs_datum;
class igs_directory_entry;
class ListOfigs_directory_entry;
class ListOfigs_associativities;
class ListOfigs_properties;

// Outcome of the last token read.
constexpr int PARAM_VALUE = 1;          // a value was read
constexpr int PARAM_DEFAULTED = 2;      // an empty parameter; its delimiter was consumed
constexpr int PARAM_END_OF_RECORD = 3;  // the record delimiter (not consumed), or a poisoned entity

// Bounds on what a hostile file can make the reader do. A count in a file is trusted: the
// items it announces past the end of their record are read as zeros. Items that stand in
// the file are never limited; only those made up past a record's end are counted, and past
// these limits the reader gives up:
//  - items_past_end_per_entity: the entity is reported ("Entity skipped: ...") and left as
//    far as it was read; reading goes on with the next entity;
//  - items_past_end_per_read: the read is reported and stops as a fatal error.
// A count that asks for more items than the file's bytes could hold plus the per-entity
// allowance skips its entity at once, before anything is made for it. The application may
// change the limits between reads; a read takes them as they stand when it starts.
struct IgeslibLimits {
  unsigned long items_past_end_per_entity = 100000;
  unsigned long items_past_end_per_read = 10000000;
};
LUMO_HOT IgeslibLimits& igeslib_limits();

// Files whose last record is damaged: some writers leave the Terminate record's sequence field
// blank, or end the file without the last record's line end, after every entity has been
// written. By default such a record ends the read as a fatal error, like any other record that
// can't be understood. With accept_damaged_end on, a fault of a record that is recognisably the
// Terminate record (section letter T beyond the parameter data columns) is reported as usual
// and the record is then taken as the Terminate record: the read completes, and counts on it
// that can't be read are reported as mismatches. A fault of any other record, a file that ends
// before its Terminate record among them, still ends the read. A read takes the setting as it
// stands when it starts.
struct IgeslibReadNote;
struct IgeslibReadSettings {
  bool accept_damaged_end = false;
  // Threads of a read: 1 reads in the calling thread alone; n above 1 adds n - 1 workers that
  // convert the reals of the Parameter Data section ahead of the reader (the model and the
  // reports are the same whatever the number); 0 takes the machine's cores for files of
  // kThreadedReadBytes and more, else 1.
  int threads = 0;
  static constexpr long long kThreadedReadBytes = 8 << 20;
  // When set, the read adds a note here for each value that it takes in its own way without
  // a report (see IgeslibReadNote); a checker names them. Null: nothing is noted.
  std::vector<IgeslibReadNote>* notes = nullptr;
};
LUMO_HOT IgeslibReadSettings& igeslib_read_settings();
// What was wrong with the damaged last record that the latest read accepted (the first fault
// if there were several); null when it accepted none.
const char* igeslib_damaged_end();

// A field of an entity as the parameter code names it: the attribute, with "[]" for each list
// on the way ("curves[].pscpt[]") and the place of the item in each of them, from 0; and the
// class, select or enumeration that the field holds.
struct IgeslibField {
  const char* name = nullptr;
  LumoTypePtr* type = nullptr;
  int item[2] = {-1, -1};
};

enum class IgeslibNoteKind : unsigned char {
  pointer,       // a pointer that names no entity of a class the field holds
  code,          // an integer that is no value of the field's enumeration
  computed,      // a value that the object computes from others (a text's character count)
  constant,      // a value that the class fixes (a property's count of parameters)
  short_record,  // the record ended before the entity's parameters did
};

// One value that the reader took in its own way without a report: a pointer it read as no
// entity, or as an entity of the file that the field can't hold; a code it left unset; a count
// or constant of the file that it dropped for its own; parameters it made up as zeros past the
// end of a record. What the file gave is value; expected is what the reader stands by
// (computed, constant), or for a pointer the sign the field wants: 1 a DE number, -1 a negated
// one. A short record gives the count of made-up parameters as value.
struct IgeslibReadNote {
  IgeslibNoteKind kind = IgeslibNoteKind::pointer;
  char param_state = 0;  // of the value's token: PARAM_VALUE, _DEFAULTED or _END_OF_RECORD
  int de = 0;            // DE number of the entity
  int line = 0;          // the record where the value stands, counted from 1 in the file
  IgeslibField field;
  int value = 0;
  int expected = 0;
};

// The floating-point rounding mode of the calling thread is to nearest.
LUMO_HOT bool igeslib_rounds_to_nearest();

struct IgeslibIO {
  LUMO_HOT IgeslibIO();
  LUMO_HOT ~IgeslibIO();
  IgeslibIO(const IgeslibIO&) = delete;
  IgeslibIO& operator=(const IgeslibIO&) = delete;

  FILE* fp = nullptr;
  fpos_t section_position{};  // of the record just read, or of the D section when writing
  IgeslibEntityTable entity_table;
  LumoStringObject string_value;
  int line_terminator_seen = 0;  // a CR or LF has been met in this file
  int line_number = 0;           // records read so far
  // The count of records read at which the next "Reading line" progress message goes out: the
  // least multiple of 1000, not 0, that line_number has not passed.
  int progress_line = 1000;
  // The last stamps read whole, their eight bytes (the byte before the field as a blank) and
  // value: the sequence number and a P record's DE pointer.
  std::uint64_t sequence_word = 0, pointer_word = 0;
  int sequence_word_value = -1, pointer_word_value = -1;
  int param_state = PARAM_VALUE;
  int sequence_number = 0;
  int back_pointer = 0;  // DE pointer of the current P record
  int end_column = 0;    // last 0-based column of free-form data
  int column = 0;        // current 0-based column in line
  int line_length = 0;
  char line[90];  // the record, NUL-terminated; blank beyond its end
  char f_rec_section = '\0';
  char param_delimiter = ',';
  char record_delimiter = ';';
  char record_failed = 0;    // a token error has poisoned the current entity
  char zero_as_default = 1;  // writing: zero values go out as empty parameters
  // Reals of the common shape are converted at once; off, every one takes the general way
  // (the same values: the tests compare the two).
  bool quick_numbers = true;
  // The processor rounds to nearest on the reading thread, as the quick way's exact products
  // need (a program may have changed the mode; it is looked at once, when the read begins).
  bool nearest_rounding = igeslib_rounds_to_nearest();
  int written_sequence = -1;        // the sequence number last written, its text in sequence_text
  bool line_may_end_early = false;  // a raw text or a class's own fields may leave a NUL in line
  char sequence_text[8] = {};
  int start_count = 0;
  int global_count = 0;
  int directory_count = 0;
  int parameter_count = 0;
  // The return point of fatal read errors is the handler of igeslib_catch_abort, set up by
  // the read driver; no jump buffer is kept here.

  // --- bounds on hostile input ---
  IgeslibLimits limits = igeslib_limits();
  long long file_bytes = -1;                // size of the file read, -1 when unknown
  unsigned long entity_items_past_end = 0;  // of the entity being read
  unsigned long read_items_past_end = 0;    // of the whole read
  bool in_entity = false;                   // an entity's parameters are being read
  bool accept_damaged_end = igeslib_read_settings().accept_damaged_end;
  const char* damaged_end = nullptr;  // the first fault of a damaged last record accepted
  std::vector<IgeslibReadNote>* notes = igeslib_read_settings().notes;
  int entity_de = 0;  // DE number of the entity whose records are being read
  int threads = igeslib_read_settings().threads;

  // --- the Directory section ---
  // The eight-column field of the record in hand at column first (1-based) as
  // igeslib_scan_eight_columns reads it. Entries of a file repeat most fields of the one
  // before (type, line font, level, zeros): the last word and value of each such field of a
  // pair (slot: 12 for the second pass, 2 for the first) are kept, and a word seen again is
  // not read again. Eight NULs, the word they start from, read as 0.
  LUMO_HOT int de_field(int slot, int first);
  std::uint64_t de_field_words[14] = {};
  int de_field_values[14] = {};

  // --- reals converted ahead by workers (null: none) ---
  IgeslibPrescan* prescan = nullptr;
  int prepared_line = 0;  // the record whose prepared reals are in hand
  const IgeslibPreparedReal* prepared_next = nullptr;
  const IgeslibPreparedReal* prepared_end = nullptr;
  // The real prepared at column of the record in hand, as the quick conversion gives it.
  LUMO_HOT bool prepared_real(int column, double* value, int* stop);

  // --- records ---
  // Brings the next record into line and finds its section letter, sequence number and (for
  // P records) DE pointer from the right. Ends the run through abort_read when the record
  // can't be understood or the file ends.
  LUMO_HOT void read_record();
  // Its parts: a record read a character at a time, then its fields found from the right.
  LUMO_HOT void read_record_general();
  LUMO_HOT void find_stamps();
  // The filer's one error output: the message, the record and a caret under column (the
  // member column when negative).
  void report_error(const char* message, int column);
  // Ends the current read at once; the read driver's igeslib_catch_abort answers false.
  [[noreturn]] void abort_read();
  // A record that can't be understood: reported, then the read ends, save when the record is
  // a damaged Terminate record and those are accepted: then it returns with the record taken
  // as the Terminate record, and what (or message) is noted as what was wrong with it.
  void record_fault(const char* message, int column, const char* what = nullptr);
  // Adds the text of each S record (72 columns) to list. Null when there was no S record.
  LUMO_HOT IgeslibIO* read_start_section(ListOfString* list);
  // Compares the counts of the T record with the records read; reports only.
  LUMO_HOT void parse_terminate_section();
  // The delimiters and parameters 3 to 26 of the G records into global, then past the rest of
  // them; null when a delimiter or the parameter list was wrong.
  LUMO_HOT IgeslibIO* parse_global_section(igs_global* global);

  // --- directory and parameter data ---
  // Two passes over the D records: the first makes an object of the registry's class for
  // every pair, the second fills their fields, when every pointer can be resolved.
  LUMO_HOT IgeslibIO* parse_de_section(ListOfigs_directory_entry* list);
  // The second pass on one pair, the first record in line; the object is the one that the
  // record's sequence number names.
  LUMO_HOT void read_de_pair(ListOfigs_directory_entry* list);
  // Hands each entity's P records to its pdread and reads the back-pointer lists behind
  // them; a broken entity is left at the next change of DE pointer.
  LUMO_HOT IgeslibIO* parse_pd_section(ListOfigs_directory_entry* list);
  // One entity's parameters and back-pointer lists, its type number first; an entity that is
  // not the one the type number names, or no entity at all, is reported and left unread.
  LUMO_HOT void read_entity(igs_directory_entry* entity, ListOfigs_directory_entry* list);
  // The two back-pointer lists behind the entity's own parameters.
  LUMO_HOT void assoc_prop_parse(igs_directory_entry* entity, ListOfigs_directory_entry* list);

  // --- parameter tokens ---
  // The parameter code of an entity class (its pdread and pdwrite, for a class of one's own
  // too) finds the run under way with igeslib_filer() and goes through these operations, in
  // the order of the entity's parameters: read_int, read_real, read_logical and read_string
  // to read, write_int, write_real, write_logical and write_string to write. Neither touches
  // the entity type parameter or the back-pointer lists, which the section driver handles.
  // A pointer parameter is read as an int and looked up with igeslib_entity_at (or the
  // helpers of igeslib_parameters.h); a count is passed through count() before anything is
  // made for it. Entity code reports nothing: a bad token poisons the rest of the entity, and
  // its later reads give zeros.
  //
  // Guards called by entity code: the zero of the type, reading nothing, once the record is
  // finished or poisoned; the zero too for a defaulted parameter.
  LUMO_HOT int read_int();
  LUMO_HOT double read_real();
  // n reals into out, as n calls of read_real give them; the common ones (a real of the quick
  // shape, its delimiter right behind it, within one record) in one loop.
  LUMO_HOT void read_reals(double* out, int n);
  LUMO_HOT char read_logical();
  // The result points into string_value and is overwritten by the next string token.
  LUMO_HOT const char* read_string(bool delimiter_follows_itself = false);

  // Scanners: one token and the parameter delimiter behind it; the outcome in param_state.
  LUMO_HOT int scan_int();
  LUMO_HOT double scan_real();
  LUMO_HOT double scan_real_general();  // scan_real past the common shapes
  LUMO_HOT char scan_logical();
  LUMO_HOT const char* scan_string(bool delimiter_follows_itself);

  // The kind of datum that an associativity's item of item_type is: 1 integer, 2 real,
  // 3 string, 4 pointer, 6 pointer or integer, 0 unknown. Type 2 is told by peeking at the
  // text of the parameter, which may read records.
  int determine_parameterData_type(int item_type);
  // Reads one parameter of that kind into a new igs_datum of the current design and adds it
  // to list. Pointers name entities of the file's directory list, entity (n - 1) / 2.
  void read_datum(ListOfigs_datum* list, int kind, ListOfigs_directory_entry* entities);

  // A count read from the file, for entity code to check before it makes or reads that many
  // items: 0 for a negative count; an entity that asks for more than the file could hold is
  // skipped (reported, and reading goes on with the next entity).
  LUMO_HOT int count(int n);
  // Room to reserve up front for n items: never more than the rest of the record in hand
  // could hold. Aggregates grow as items come.
  unsigned capacity_hint(int n) const;
  // Gives up on the entity being read: reported, then reading goes on with the next one. Out
  // of an entity's parameters it ends the read as a fatal error.
  [[noreturn]] void skip_entity(const char* message);
  // Notes one item made up past the end of a record, within the limits.
  LUMO_HOT void past_end();
  // Adds a note on the entity being read, at the record in hand, when notes are kept.
  void note(IgeslibNoteKind kind, const IgeslibField& field, int value, int expected = 0) {
    if (notes) add_note(kind, field, value, expected);
  }
  void add_note(IgeslibNoteKind kind, const IgeslibField& field, int value, int expected);

  // Moves to the next record that has free-form data left, skipping leading blanks.
  LUMO_HOT void next_data();
  // Reports a token error at the current column and poisons the entity's parameters.
  void token_error(const char* message);

  // --- writing ---
  // Emits line as one record: in the P section a blank and the DE pointer in columns 65-72,
  // then the section letter and the sequence number (which then counts up), and LF. Leaves
  // line blank and column 0.
  void write_line();
  // Copies text (NUL included) into line at column, column unchanged; end_line writes it.
  void write_raw_line(const char* text, bool end_line);
  // The last index from 81 down to 1 holding the record delimiter, or 0; stored in column.
  int find_record_delimiter();

  // What an empty parameter of a field reads back as: its zero, or something else (a default
  // of the field's own, or no value at all where a value's kind is told by its text).
  enum EmptyReads { kEmptyIsZero, kEmptyIsNotZero };
  // One parameter and its delimiter each. With zero_as_default set, 0, 0.0 and false go out
  // as empty parameters, but only where an empty parameter reads back as the value written:
  // where it doesn't, the zero itself is written. A null or empty string always goes out as an
  // empty parameter.
  void write_int(int v, EmptyReads empty = kEmptyIsZero);
  void write_real(double v, EmptyReads empty = kEmptyIsZero);
  void write_logical(bool v);
  void write_string(const char* s);
  void write_empty_parameter();
  // The value whatever it is. Numbers are never split over two records; a string, its
  // length and the H kept together, runs over record ends.
  void put_int(int v);
  void put_logical(bool v);
  void put_real(double v);
  void put_string(const char* s);
  // Turns the parameter delimiter behind the last parameter into the record delimiter and
  // writes the record.
  void writeendofrec();

  // Section writers, in the order the file needs them. The D section is first written blank
  // for room, and overwritten once the P section has given every entity its pointers.
  void write_start_section(ListOfString* list);
  void reserve_de_section(ListOfigs_directory_entry* list);
  void write_pd_section(ListOfigs_directory_entry* list);
  void write_assoc_prop(ListOfigs_associativities* associations, ListOfigs_properties* properties);
  void write_terminate_section(ListOfigs_directory_entry* list);
  void write_de_section(ListOfigs_directory_entry* list);
  // The G records of global, which is left claiming version 11.
  void write_global_section(igs_global* global);
};

// What sscanf's "%d" reads from the first `width` characters of text (or up to a NUL): blanks
// skipped, a sign, digits. False, and value untouched, when there is no digit. Fixed fields
// of records are read with it, thousands of times faster than a formatted scan.
LUMO_HOT bool igeslib_scan_int(const char* text, int width, int* value);

// The value of eight characters held in one word, the first in the lowest byte, when they are
// blanks and then digits to the end (a right-justified field); -1 when they are all blank or
// of any other shape. Leading blanks become zeros, and the eight digits are combined pairwise
// in the word.
inline int igeslib_right_justified_word(std::uint64_t word) {
  constexpr std::uint64_t kOnes = 0x0101010101010101ULL;
  std::uint64_t not_blank = word ^ (kOnes * ' ');
  if (not_blank == 0) return -1;
  int leading = std::countr_zero(not_blank) / 8;
  std::uint64_t lead_mask = leading ? ~std::uint64_t(0) >> (64 - 8 * leading) : 0;
  std::uint64_t digits = (word & ~lead_mask) | ((kOnes * '0') & lead_mask);
  // Every byte a digit: its high nibble is 3, and adding 6 leaves it 3.
  std::uint64_t high = digits & (kOnes * 0xF0);
  std::uint64_t carried = (digits + kOnes * 6) & (kOnes * 0xF0);
  if ((high | (carried >> 4)) != kOnes * 0x33) return -1;
  digits -= kOnes * '0';
  digits = digits * 10 + (digits >> 8);
  digits = (((digits & 0x000000FF000000FFULL) * (100 + (1000000ULL << 32))) +
            (((digits >> 16) & 0x000000FF000000FFULL) * (1 + (10000ULL << 32)))) >>
           32;
  return static_cast<int>(static_cast<std::uint32_t>(digits));
}

// The eight decimal digits of v (below 10^8, leading zeros kept) as one word to store, the
// first digit at the lowest address. No division: the value is split into halves of four
// digits, those into pairs, the pairs into digits, all in place by multiplying with
// reciprocals.
inline std::uint64_t igeslib_eight_digits_word(std::uint32_t v) {
  std::uint64_t halves = v + (0x100000000ull - 10000) * ((v * 0x68db8bbull) >> 40);
  std::uint64_t pairs = halves + (0x10000 - 100) * (((halves * 0x147b) >> 19) & 0x7f0000007full);
  std::uint64_t digits = (pairs + (0x100 - 10) * (((pairs * 0x67) >> 10) & 0xf000f000f000full)) |
                         0x3030303030303030ull;
#if !defined(__BYTE_ORDER__) || __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
  digits = __builtin_bswap64(digits);
#endif
  return digits;
}

inline void igeslib_eight_digits(char* out, std::uint32_t v) {
  std::uint64_t word = igeslib_eight_digits_word(v);
  std::memcpy(out, &word, sizeof word);
}

// value (below 10^8) as "%8d" writes it: the eight digits, the leading zeros but the last
// turned into blanks. No NUL.
inline void igeslib_right_justified_eight(char* out, std::uint32_t value) {
  std::uint64_t word = igeslib_eight_digits_word(value);
#if !defined(__BYTE_ORDER__) || __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
  // The first digit is the lowest byte: the zero bytes of word ^ "00000000" from the bottom
  // are the leading zeros, seven at most; each '0' less 0x10 is a blank.
  constexpr std::uint64_t kZeros = 0x3030303030303030ull;
  int lead = std::countr_zero((word ^ kZeros) | (std::uint64_t{1} << 56)) / 8;
  word -= ((std::uint64_t{1} << (8 * lead)) - 1) & 0x1010101010101010ull;
  std::memcpy(out, &word, sizeof word);
#else
  std::memcpy(out, &word, sizeof word);
  for (int i = 0; i < 7 && out[i] == '0'; ++i) out[i] = ' ';
#endif
}

// Eight blank columns as a word of igeslib_load_word.
constexpr std::uint64_t kIgeslibEightBlanks = 0x2020202020202020ULL;

// Eight characters of a record as one word, the first in the lowest byte.
inline std::uint64_t igeslib_load_word(const char* p) {
  std::uint64_t word;
  std::memcpy(&word, p, sizeof word);
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
  word = __builtin_bswap64(word);
#endif
  return word;
}

// The seven columns of a record's stamp from field (a sequence number or a DE pointer) as one
// word, the byte before them taken as a blank: igeslib_right_justified_word reads its value.
inline std::uint64_t igeslib_stamp_word(const char* field) {
  return (igeslib_load_word(field - 1) & ~std::uint64_t{0xFF}) | ' ';
}

// The integer that igeslib_scan_int reads from the eight columns at field, 0 when there is
// none. All eight bytes are read at once, NULs included: field must lie in a buffer that holds
// them, such as the filer's record.
inline int igeslib_scan_eight_columns(const char* field) {
  std::uint64_t word = igeslib_load_word(field);
  int value = igeslib_right_justified_word(word);
  if (value >= 0) return value;
  if (word == kIgeslibEightBlanks) return 0;  // eight blanks: no value
  value = 0;
  igeslib_scan_int(field, 8, &value);
  return value;
}

// The token put_real writes for v, its delimiter left out: "%.15G" in the "C" locale, a point
// behind a whole number (or behind any text that has neither point nor exponent), and D for the
// exponent letter. NUL-terminated in out, which has room for 32 characters; the length.
int igeslib_real_text(double v, char* out);

// The working record of the run under way: that of the file object at the root of the current
// design. Null when no read or write is running there.
IgeslibIO* igeslib_filer();

// The entity that DE pointer n names in list: place (n - 1) / 2, truncated toward zero; null
// when that place is negative or past the end.
igs_directory_entry* igeslib_entity_at(ListOfigs_directory_entry* list, int n);

// Runs body(context) and answers true, or false when a fatal read error ended it. The read
// driver runs its phases under this; nothing else catches a fatal read error.
bool igeslib_catch_abort(void (*body)(void* context), void* context);

// Runs body(context) and answers true, or false when the entity being read was given up.
bool igeslib_catch_skip(void (*body)(void* context), void* context);

template <class F>
bool igeslib_catch_skip(F&& body) {
  using Body = std::remove_reference_t<F>;
  return igeslib_catch_skip([](void* context) { (*static_cast<Body*>(context))(); },
                            const_cast<void*>(static_cast<const void*>(std::addressof(body))));
}

template <class F>
bool igeslib_catch_abort(F&& body) {
  using Body = std::remove_reference_t<F>;
  return igeslib_catch_abort([](void* context) { (*static_cast<Body*>(context))(); },
                             const_cast<void*>(static_cast<const void*>(std::addressof(body))));
}
