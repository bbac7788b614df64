#ifndef PRG_XML_XPATH_PARSER_PARSERNODES_XPATH_ROSTER_H
#define PRG_XML_XPATH_PARSER_PARSERNODES_XPATH_ROSTER_H

class XPathExpression;

/// While it lives, the nodes that are made on its thread stand on it, whoever owns them: a parse
/// that ends by an exception leaves nodes in places that nobody can reach any more. Rosters of one
/// thread may be nested; a node stands on the innermost one.
class XPathRoster {
public:
    XPathRoster();
    /// Deletes each node that still stands on it by itself, whether or not another one owns it.
    ~XPathRoster();
    XPathRoster(const XPathRoster &) = delete;
    XPathRoster &operator=(const XPathRoster &) = delete;

    /// Lets the nodes go, which belong to whoever owns them.
    void keepNodes() noexcept;

    /// Whether nodes of this thread are deleted one by one, so that none deletes what it owns.
    static bool isDeleting();

    /// A node's entry, which is a part of it: taken off when the node goes.
    class Entry {
    public:
        explicit Entry(XPathExpression &node);
        ~Entry() { leave(); }
        Entry(const Entry &) = delete;
        Entry &operator=(const Entry &) = delete;

    private:
        friend class XPathRoster;
        void leave() noexcept;

        XPathExpression &node_;
        Entry *next_ = nullptr;
        Entry **link_ = nullptr;  ///< what points to this one; null: it is on no roster
    };

private:
    Entry *first_ = nullptr;
    XPathRoster *outer_;
};

#endif
