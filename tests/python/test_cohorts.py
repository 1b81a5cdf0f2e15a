import itertools

import numpy as np
import pytest

import vorlen
from conftest import circle


def test_counts_are_those_of_numpy():
    points = np.random.default_rng(1).uniform(0, 10, (500, 3))
    points[0], points[1] = 0, 10
    told = vorlen.density([points], method="histogram", resolution=2)
    edges = [origin - step / 2 + step * np.arange(size + 1)
             for origin, step, size in zip(told["origin"], told["steps"], told["values"].shape)]
    counts, _ = np.histogramdd(points.astype(np.float32), bins=edges)
    # Points on the faces of cells may count on either side.
    assert told["values"].sum() == 500 and np.abs(told["values"] - counts).sum() <= 6
    assert told["values"].shape == tuple(len(edge) - 1 for edge in edges)


def test_a_density_integrates_to_one_and_each_is_its_own():
    random = np.random.default_rng(2)
    patterns = [random.normal((0, 0, 5 * k), 2, (200, 3)) for k in range(2)]
    told = vorlen.density(patterns, resolution=1)
    assert told["values"].sum() * np.prod(told["steps"]) == pytest.approx(1, abs=0.02)
    each = vorlen.density(patterns, resolution=1, each=True)
    assert each["values"].shape == (2,) + told["values"].shape
    heights = each["origin"][2] + each["steps"][2] * np.arange(told["values"].shape[2])
    for k, own in enumerate(each["values"]):
        assert (own.sum((0, 1)) @ heights) / own.sum() == pytest.approx(patterns[k][:, 2].mean(), abs=0.3)


def test_p_is_that_of_all_dealings():
    values = np.random.default_rng(3).normal(size=(6, 4, 5)).astype(np.float32)
    values[:3, 1, 2] += 9
    labels = ["b", "b", "b", "a", "a", "a"]

    def statistics(first):
        one = values[list(first)].astype(float)
        two = values[[s for s in range(6) if s not in first]].astype(float)
        error = np.sqrt((one.var(0) * 3 + two.var(0) * 3) / 4 * (2 / 3))
        return two.mean(0) - one.mean(0), error

    def t(first):
        difference, error = statistics(first)
        return difference / (error + np.median(error))

    told = vorlen.compare(values, labels)
    assert told["permutations"] == 20 and told["exact"]
    observed = t((0, 1, 2))
    greatest = np.array([np.abs(t(first)).max() for first in itertools.combinations(range(6), 3)])
    expected = np.mean(greatest[:, None, None] >= np.abs(observed) * (1 - 1e-6), axis=0)
    assert np.unravel_index(told["p"].argmin(), (4, 5)) == (1, 2)
    assert np.sign(told["statistic"][1, 2]) == np.sign(observed[1, 2])
    assert told["least_p"] == pytest.approx(expected.min()) == pytest.approx(told["p"].min())


def test_clusters_lie_where_the_groups_differ():
    values = np.random.default_rng(4).normal(size=(8, 6, 5, 7)).astype(np.float32)
    values[4:, 4, 2, 1:4] += 12
    told = vorlen.compare(values, [0, 0, 0, 0, 1, 1, 1, 1], cluster=2)
    first = told["clusters"][0]
    assert first["places"] >= 3 and first["peak_at"][:2] == (4, 2) and 1 <= first["peak_at"][2] <= 3
    assert told["statistic"][first["peak_at"]] == np.float32(first["peak"])
    assert first["p"] == pytest.approx(2 / 70)


def test_results_do_not_depend_on_threads():
    values = np.random.default_rng(5).normal(size=(8, 3000)).astype(np.float32)
    told = []
    for threads in (1, 3):
        vorlen.set_threads(threads)
        told.append(vorlen.compare(values, [0] * 4 + [1] * 4, permutations=50, seed=9))
    vorlen.set_threads(0)
    assert np.array_equal(told[0]["p"], told[1]["p"]) and np.array_equal(told[0]["statistic"], told[1]["statistic"])


@pytest.mark.parametrize("groups", [[0], [0, 0, 0, 0], [0, 1]])
def test_groups_that_are_none_are_refused(groups):
    with pytest.raises(vorlen.Error):
        vorlen.compare(np.zeros((4, 5)), groups)


def test_specimens_come_onto_each_other(images):
    stacks = []
    for k, centre in enumerate(((36, 28), (44, 33))):
        own = vorlen.new(f"s{k}", images[0], spacing=2, pixel_size=(0.5, 0.5))
        body, cells = own.add_model("Body"), own.add_model("Cells", geometry="Polypoint")
        for section, radius in zip(own.slices, (8, 14, 17, 15, 12, 6)):
            outline = circle((0, 0), radius) * (1, 0.7)
            body.add_item(section, np.rint(outline + centre))
        cells.add_item(own.slices[2], [np.add(centre, (5, 2)), np.add(centre, (-4, 1))])
        stacks.append(own)
    told = vorlen.normalize(stacks)
    assert told["unit"] == stacks[0].unit and [one["name"] for one in told["specimens"]] == ["s0", "s1"]
    first, second = (one["shapes"] for one in told["specimens"])
    assert first["Body"].shape == told["mean"]["Body"].shape and first["Body"].shape[2] == 3
    # Both are the same body, shifted by whole pixels.
    assert np.abs(first["Cells"] - second["Cells"]).max() < 0.3
    assert max(one["residual"] for one in told["specimens"]) < 0.3
    assert told["deviations"]["Body"].size == np.prod(told["mean"]["Body"].shape[:2])
    for arguments in ({"references": ["Cells"]}, {"warping": "?"}, {"sizes": {"Body": (1, 1)}}, {"degree": 0}):
        with pytest.raises(vorlen.Error):
            vorlen.normalize(stacks, **arguments)
    with pytest.raises(vorlen.Error):
        vorlen.normalize([stacks[0], stacks[0]])
