#include "table_walk.h"

#include <algorithm>
#include <deque>

namespace snmpfcs {

namespace {

/** How many values a request asks for: an answer stays well below what any agent's message holds.
 */
constexpr size_t kValuesOfRequest = 240;

struct Instance {
  Oid index;
  Value value;
};

/** A column, and what has been read ahead of it. */
struct Column {
  const Object *object;
  Oid place;
  std::deque<Instance> ahead;
  bool ended = false;
};

class Walk {
public:
  Walk(Session &session, const std::vector<std::string_view> &names, const Ranges &ranges,
       const TakeRow &take)
      : session_(session), take_(take), range_(ranges.begin()), end_(ranges.end()),
        width_(names.size()) {
    for (const std::string_view name : names) {
      columns_.push_back({&object(name), session.oid_of(object(name)), {}});
    }
  }

  void run() {
    seek();
    while (range_ != end_ && std::ranges::any_of(columns_, std::not_fn(&Column::ended))) {
      read_ahead();
      if (!take_rows()) {
        narrow();
      }
    }
  }

private:
  /** Goes to the beginning of the range. */
  void seek() {
    if (range_ != end_ && range_->first > 0) {
      const bool by_vsan_alone = is_indexed_by_vsan_alone(*columns_[0].object);
      const oid before = by_vsan_alone ? range_->first - 1 : range_->first;
      at_ = std::max(at_, Oid{before});
    }
  }

  void read_ahead() {
    for (Column &column : columns_) {
      column.ahead.clear();
    }
    for (size_t first = 0; first < columns_.size(); first += width_) {
      std::vector<Column *> some;
      for (size_t i = first; i < std::min(first + width_, columns_.size()); ++i) {
        if (!columns_[i].ended) {
          some.push_back(&columns_[i]);
        }
      }
      if (!some.empty()) {
        read_ahead(some);
      }
    }
  }

  void read_ahead(const std::vector<Column *> &columns) {
    std::vector<Oid> instances;
    instances.reserve(columns.size());
    for (const Column *column : columns) {
      instances.push_back(column->place + at_);
    }
    const auto rows = static_cast<int>(std::max<size_t>(1, values_ / columns.size()));
    const Answer answer = session_.next(instances, rows);
    if (answer->errstat == SNMP_ERR_NOSUCHNAME && answer->errindex >= 1 &&
        static_cast<size_t>(answer->errindex) <= columns.size()) {
      end_of_mib(columns, static_cast<size_t>(answer->errindex) - 1);
    } else if (answer->errstat == SNMP_ERR_NOERROR) {
      sort_in(*answer, columns);
    } else if (answer->errstat != SNMP_ERR_TOOBIG) {
      throw Refused(answer->errstat, columns[0]->object);
    }
  }

  /** SNMPv1 says so of the first column, and nothing of the others. */
  void end_of_mib(const std::vector<Column *> &columns, size_t which) {
    columns[which]->ended = true;
    std::vector<Column *> others(columns);
    others.erase(others.begin() + static_cast<ptrdiff_t>(which));
    if (!others.empty()) {
      read_ahead(others);
    }
  }

  void sort_in(const netsnmp_pdu &answer, const std::vector<Column *> &columns) {
    size_t i = 0;
    for (const netsnmp_variable_list *variable = answer.variables; variable != nullptr;
         variable = variable->next_variable) {
      Column &column = *columns[i++ % columns.size()];
      if (!column.ended) {
        sort_in(*variable, column);
      }
    }
  }

  void sort_in(const netsnmp_variable_list &variable, Column &column) {
    const oid *const index = variable.name + column.place.size();
    const oid *const end = variable.name + variable.name_length;
    if (netsnmp_oid_is_subtree(column.place.data(), column.place.size(), variable.name,
                               variable.name_length) != 0 ||
        variable.type == SNMP_ENDOFMIBVIEW) {
      column.ended = true;
      return;
    }
    column.ahead.push_back({Oid(index, end), value_of(variable)});
    const Oid &last = column.ahead.size() > 1 ? column.ahead[column.ahead.size() - 2].index : at_;
    if (column.ahead.back().index <= last) {
      throw Failure(session_.agent() + ": the agent's answers do not move on at " +
                        std::string(column.object->name) + "." + oid_text(last),
                    kFailed);
    }
  }

  /** Up to which index each column has been read: rows beyond it may lack values yet. */
  const Oid *known() const {
    const Oid *least = nullptr;
    for (const Column &column : columns_) {
      if (!column.ended) {
        const Oid &last = column.ahead.empty() ? at_ : column.ahead.back().index;
        least = least == nullptr || last < *least ? &last : least;
      }
    }
    return least;
  }

  /** The next row's index; null when there is none that is known whole. */
  const Oid *next_row(const Oid *limit) const {
    const Oid *least = nullptr;
    for (const Column &column : columns_) {
      if (!column.ahead.empty() && (least == nullptr || column.ahead.front().index < *least)) {
        least = &column.ahead.front().index;
      }
    }
    return least == nullptr || (limit != nullptr && *limit < *least) ? nullptr : least;
  }

  /** Hands over what is known; false when that is nothing at all. */
  bool take_rows() {
    const Oid *const limit = known();
    const std::optional<Oid> copy = limit == nullptr ? std::nullopt : std::optional(*limit);
    bool moved = limit == nullptr;
    while (const Oid *const next = next_row(copy ? &*copy : nullptr)) {
      at_ = *next;
      take_row();
      moved = true;
    }
    seek();
    return moved;
  }

  void take_row() {
    values_of_row_.assign(columns_.size(), Value());
    for (size_t i = 0; i < columns_.size(); ++i) {
      std::deque<Instance> &ahead = columns_[i].ahead;
      if (!ahead.empty() && ahead.front().index == at_) {
        values_of_row_[i] = std::move(ahead.front().value);
        ahead.pop_front();
      }
    }
    while (range_ != end_ && range_->last < at_.front()) {
      ++range_;
    }
    if (range_ != end_ && range_->first <= at_.front()) {
      take_(at_, values_of_row_);
    }
  }

  /** Asks for less: the agent's messages do not hold as much. */
  void narrow() {
    if (values_ > columns_.size()) {
      values_ = std::max(values_ / 2, columns_.size());
    } else if (width_ > 1) {
      width_ = (width_ + 1) / 2;
    } else {
      throw Failure(session_.agent() + ": the agent's answer to " +
                        std::string(columns_[0].object->name) + " is empty",
                    kFailed);
    }
  }

  Session &session_;
  const TakeRow &take_;
  Ranges::const_iterator range_;
  Ranges::const_iterator end_;
  std::vector<Column> columns_;
  size_t width_; ///< Columns of one request.
  size_t values_ = kValuesOfRequest;
  Oid at_; ///< The index behind which to go on.
  std::vector<Value> values_of_row_;
};

} // namespace

Ranges ranges_of(std::vector<uint32_t> numbers) {
  std::ranges::sort(numbers);
  Ranges ranges;
  for (const uint32_t number : numbers) {
    if (!ranges.empty() && number <= ranges.back().last + 1) {
      ranges.back().last = number;
    } else {
      ranges.push_back({number, number});
    }
  }
  return ranges;
}

void walk(Session &session, const std::vector<std::string_view> &columns, const Ranges &ranges,
          const TakeRow &take) {
  Walk(session, columns, ranges, take).run();
}

} // namespace snmpfcs
