"""Python strategies steering the layered layouts."""

import pytest

import netloom


def chain(n):
    g = netloom.Graph()
    for i in range(1, n + 1):
        g.add_node(i)
    for i in range(1, n):
        g.add_edge(i, i, i + 1)
    return g


class Levels(netloom.LayoutStrategy):
    def __init__(self, levels, direction=1, mode=0):
        netloom.LayoutStrategy.__init__(self)
        self.levels = levels
        self.direction = direction
        self.mode = mode
        self.asked = []

    def get_arrange_mode(self):
        return self.mode

    def get_direction(self):
        return self.direction

    def get_levels(self, node_ids):
        self.asked.append(list(node_ids))
        return self.levels


@pytest.mark.parametrize("kind", [netloom.TREE, netloom.HIERARCHY])
def test_strategy_levels_decide_the_rows(kind):
    g = chain(3)
    strategy = Levels({0: [3], 1: [2], 2: [1]})
    g.set_strategy(strategy)
    g.layout(40, kind, 100)
    assert strategy.asked == [[1, 2, 3]]
    rows = {i: g.grid(i)[1] for i in (1, 2, 3)}
    assert rows[3] < rows[2] < rows[1]
    y = {i: g.position(i)[1] for i in (1, 2, 3)}
    assert y[3] < y[2] < y[1]


def test_declining_and_removing_the_strategy():
    g = chain(3)
    strategy = Levels(None)
    g.set_strategy(strategy)
    g.layout(40, netloom.TREE, 100)
    assert strategy.asked == [[1, 2, 3]]
    g.set_strategy(None)
    g.layout(40, netloom.TREE, 100)
    assert len(strategy.asked) == 1


def test_errors_in_callbacks_reach_the_caller():
    class Broken(netloom.LayoutStrategy):
        def get_arrange_mode(self):
            return 0

        def get_direction(self):
            return 1

        def get_levels(self, node_ids):
            raise RuntimeError("no levels today")

    g = chain(2)
    g.set_strategy(Broken())
    with pytest.raises(RuntimeError, match="no levels today"):
        g.layout(40, netloom.HIERARCHY, 100)

    class WrongType(Broken):
        def get_levels(self, node_ids):
            return {"a": "b"}

    g.set_strategy(WrongType())
    with pytest.raises(TypeError, match="dict of int"):
        g.layout(40, netloom.HIERARCHY, 100)

    class Missing(netloom.LayoutStrategy):
        pass

    g.set_strategy(Missing())
    with pytest.raises(TypeError, match="does not define"):
        g.layout(40, netloom.HIERARCHY, 100)
