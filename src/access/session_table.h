// The session database as a login and a logout change it. Every record is
// kept as the text it was read as, with its expiry beside it, so that
// pruning works on a small index and the file is written back by copying the
// kept records: no record becomes a dynamic value. Reads and writes the same
// file, with the same verdicts, as the value-based functions of session_db.h
// (the session check still reads one record as a value).
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "orvo/variant/variant.h"
#include "access/session_db.h"

namespace orvo::rest::access {

class SessionTable {
 public:
  SessionTable() = default;
  // Entries point into the table's own texts.
  SessionTable(SessionTable const&) = delete;
  SessionTable& operator=(SessionTable const&) = delete;

  // The same verdicts as parseSessionDb(): blank text or JSON that is not an
  // object give an empty table, text that is not JSON false (and an empty
  // table). Of a repeated identifier the last record counts.
  bool Parse(std::string text);
  void Clear();

  std::size_t size() const { return entries_.size(); }
  bool Contains(std::string const& id) const;
  // Records whose "max-age" lies below `nowMs` go; returns how many.
  std::size_t PruneExpired(uint64_t nowMs);
  // The records that expire first go until at most `keep` are left (of equal
  // expiry, the smaller identifier first); returns how many.
  std::size_t EvictOldest(std::size_t keep);
  // Adds or replaces the record of `id`; false when it cannot be written.
  bool Put(std::string const& id, orvo::variant::Variant const& record);
  bool Remove(std::string const& id);

  // The styled JSON text of the database: byte for byte what
  // Variant::ToJSON(styled) writes for the same records, when the records
  // read were written that way too (others are copied as they stood).
  std::string Styled() const;

 private:
  struct Entry {
    std::string_view id;     // decoded
    std::string_view key;    // the member's name as written, with its quotes
    std::string_view value;  // the record as written
    uint64_t expiry = 0;
  };
  std::vector<Entry>::iterator find(std::string const& id);
  std::vector<Entry>::const_iterator find(std::string const& id) const;

  std::string text_;                 // the text read, which entries point into
  std::deque<std::string> written_;  // texts of records put since, and names
                                     // that differ from their text (never moved)
  std::vector<Entry> entries_;        // sorted by identifier, unique
};

// Reads the database file as readSessionDb() does (same trust checks and
// verdicts), into a table.
SessionDbRead readSessionTable(std::string const& path, SessionTable& table, std::string& problem);
// Writes the table styled, atomically, mode 0600, as writeSessionDb() does.
bool writeSessionTable(std::string const& path, SessionTable const& table);

}  // namespace orvo::rest::access
