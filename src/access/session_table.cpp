#include "access/session_table.h"

#include <algorithm>
#include <utility>

#include "orvo/variant/json_member.h"

using orvo::variant::MemberText;
using orvo::variant::Variant;

namespace orvo::rest::access {

namespace {

// Digits only and short enough for 64 bits: the value as the dynamic value
// would hold it. Anything else (a sign, a fraction, an exponent) is read
// through a dynamic value so that its conversion stays the same.
bool plainUnsigned(std::string_view digits, uint64_t& value) {
  if (digits.empty() || digits.size() > 19) return false;
  value = 0;
  for (char c : digits) {
    if (c < '0' || c > '9') return false;
    value = value * 10 + static_cast<uint64_t>(c - '0');
  }
  return true;
}

uint64_t expiryOf(MemberText const& member, std::string_view text, std::string_view value) {
  uint64_t expiry = 0;
  if (member.probe == MemberText::Probe::kAbsent && !value.empty() && value.front() == '{') return 0;
  if (member.probe == MemberText::Probe::kNumber &&
      plainUnsigned(text.substr(member.probeBegin, member.probeEnd - member.probeBegin), expiry)) {
    return expiry;
  }
  Variant record;
  return record.FromJSON(value.data(), value.size()) ? sessionExpiry(record) : 0;
}

std::string_view span(std::string_view text, std::size_t begin, std::size_t end) {
  return text.substr(begin, end - begin);
}

bool byId(std::string_view a, std::string_view b) { return a < b; }

}  // namespace

void SessionTable::Clear() {
  text_.clear();
  written_.clear();
  entries_.clear();
}

bool SessionTable::Parse(std::string text) {
  Clear();
  if (text.size() > kMaxSessionDbBytes) return false;
  text_ = std::move(text);
  if (text_.find_first_not_of(" \t\r\n") == std::string::npos) return true;
  std::string_view const all(text_);
  // One allocation for a file this program wrote (above 100 bytes a record).
  entries_.reserve(text_.size() / 100 + 1);
  bool const ok = orvo::variant::MembersAsText(text_, kMaxAgeKey, [&](MemberText const& member) {
    Entry entry;
    entry.key = span(all, member.keyBegin, member.keyEnd);
    entry.value = span(all, member.valueBegin, member.valueEnd);
    entry.expiry = expiryOf(member, all, entry.value);
    // A name written without escapes is its own text between the quotes.
    entry.id = entry.key.substr(1, entry.key.size() - 2);
    if (entry.id != member.name) entry.id = written_.emplace_back(member.name);
    entries_.push_back(entry);
  });
  if (!ok) {
    Clear();
    return false;
  }
  // Files this program wrote come sorted and unique; others are put in the
  // dynamic value's order, keeping the last of a repeated identifier.
  auto const less = [](Entry const& a, Entry const& b) { return byId(a.id, b.id); };
  if (!std::is_sorted(entries_.begin(), entries_.end(), less)) {
    std::stable_sort(entries_.begin(), entries_.end(), less);
  }
  auto const last = std::unique(entries_.rbegin(), entries_.rend(),
                                [](Entry const& a, Entry const& b) { return a.id == b.id; });
  entries_.erase(entries_.begin(), last.base());
  return true;
}

std::vector<SessionTable::Entry>::iterator SessionTable::find(std::string const& id) {
  auto it = std::lower_bound(entries_.begin(), entries_.end(), std::string_view(id),
                             [](Entry const& e, std::string_view key) { return byId(e.id, key); });
  return it != entries_.end() && it->id == id ? it : entries_.end();
}

std::vector<SessionTable::Entry>::const_iterator SessionTable::find(std::string const& id) const {
  return const_cast<SessionTable*>(this)->find(id);
}

bool SessionTable::Contains(std::string const& id) const { return find(id) != entries_.end(); }

std::size_t SessionTable::PruneExpired(uint64_t nowMs) {
  std::size_t const before = entries_.size();
  entries_.erase(std::remove_if(entries_.begin(), entries_.end(),
                                [nowMs](Entry const& e) { return e.expiry < nowMs; }),
                 entries_.end());
  return before - entries_.size();
}

std::size_t SessionTable::EvictOldest(std::size_t keep) {
  if (entries_.size() <= keep) return 0;
  std::vector<std::pair<uint64_t, std::size_t>> byExpiry;  // entries are sorted by id
  byExpiry.reserve(entries_.size());
  for (std::size_t i = 0; i < entries_.size(); ++i) byExpiry.emplace_back(entries_[i].expiry, i);
  std::size_t const excess = entries_.size() - keep;
  std::partial_sort(byExpiry.begin(), byExpiry.begin() + excess, byExpiry.end());
  std::vector<bool> evicted(entries_.size(), false);
  for (std::size_t i = 0; i < excess; ++i) evicted[byExpiry[i].second] = true;
  std::size_t index = 0;
  entries_.erase(std::remove_if(entries_.begin(), entries_.end(),
                                [&](Entry const&) { return evicted[index++]; }),
                 entries_.end());
  return excess;
}

bool SessionTable::Put(std::string const& id, Variant const& record) {
  // The record styled as a member at the top level: a one-member document
  // written by the dynamic value, then located like any file's members.
  Variant document;
  document.IsArray(false);
  document[id] = record;
  std::string text;
  if (!document.ToJSON(text, true)) return false;
  std::string_view const all(written_.emplace_back(std::move(text)));
  Entry entry;
  orvo::variant::MembersAsText(written_.back(), "", [&](MemberText const& member) {
    entry.key = span(all, member.keyBegin, member.keyEnd);
    entry.value = span(all, member.valueBegin, member.valueEnd);
  });
  if (entry.key.empty()) return false;
  entry.id = written_.emplace_back(id);
  entry.expiry = sessionExpiry(record);
  auto it = find(id);
  if (it != entries_.end()) {
    *it = std::move(entry);
    return true;
  }
  it = std::lower_bound(entries_.begin(), entries_.end(), entry.id,
                        [](Entry const& e, std::string_view key) { return byId(e.id, key); });
  entries_.insert(it, std::move(entry));
  return true;
}

bool SessionTable::Remove(std::string const& id) {
  auto it = find(id);
  if (it == entries_.end()) return false;
  entries_.erase(it);
  return true;
}

std::string SessionTable::Styled() const {
  if (entries_.empty()) return "{}";
  std::size_t size = 4;
  for (Entry const& e : entries_) size += e.key.size() + e.value.size() + 6;
  std::string out;
  out.reserve(size);
  out += '{';
  for (std::size_t i = 0; i < entries_.size(); ++i) {
    out += i == 0 ? "\n  " : ",\n  ";
    out.append(entries_[i].key).append(": ").append(entries_[i].value);
  }
  out += "\n}";
  return out;
}

}  // namespace orvo::rest::access
