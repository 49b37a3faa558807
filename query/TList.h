// The program's singly linked list: head, tail, count; the list owns its elements and each carries its own
// link. An element class derives from CTListLink<itself>. Not thread-safe.
#pragma once

#include <cstdint>
#include <memory>
#include <utility>

namespace tolvane {

template <class T>
class CTList;

template <class T>
class CTListLink {
 public:
  CTListLink() = default;
  // A copy stands in no list.
  CTListLink(const CTListLink&) {}
  CTListLink& operator=(const CTListLink&) { return *this; }
  // The following element; owned by the list.
  [[nodiscard]] T* GetNext() const { return m_next.get(); }

 private:
  friend class CTList<T>;
  std::unique_ptr<T> m_next;
};

template <class T>
class CTList {
 public:
  ~CTList() { Clear(); }

  void Append(std::unique_ptr<T> element) {
    T* const last = element.get();
    if (m_tail != nullptr) {
      m_tail->CTListLink<T>::m_next = std::move(element);
    } else {
      m_head = std::move(element);
    }
    m_tail = last;
    ++m_count;
  }
  // The unlinked head; null when the list is empty.
  std::unique_ptr<T> TakeFront() {
    std::unique_ptr<T> first = std::move(m_head);
    if (first) {
      m_head = std::move(first->CTListLink<T>::m_next);
      if (--m_count == 0) m_tail = nullptr;
    }
    return first;
  }
  // One by one: half a million elements must not end in half a million nested destructors.
  void Clear() {
    while (TakeFront()) {
    }
  }
  [[nodiscard]] T* GetHead() const { return m_head.get(); }
  [[nodiscard]] T* GetTail() const { return m_tail; }
  [[nodiscard]] int32_t GetCount() const { return m_count; }

 private:
  std::unique_ptr<T> m_head;
  T* m_tail = nullptr;
  int32_t m_count = 0;
};

}  // namespace tolvane
