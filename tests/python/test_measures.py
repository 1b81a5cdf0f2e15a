import numpy as np
import pytest

import vorlen
from conftest import circle, write_tiff


def shoelace(points):
    x, y = points.T
    return abs(np.sum(x * np.roll(y, -1) - y * np.roll(x, -1))) / 2


def enclosed(vertices, faces):
    """The volume by the divergence theorem."""
    a, b, c = (vertices[faces[:, k]] for k in range(3))
    return np.sum(np.einsum("ij,ij->i", a, np.cross(b, c))) / 6


def test_world_coordinates_go_by_pixel_size_registration_and_position(stack):
    item = stack.model("Ball").items[3]
    expected = np.column_stack([item.vertices * (0.5, -0.5), np.full(len(item), 6.0)])
    assert np.allclose(item.world() - item.world()[0], expected - expected[0])
    assert np.allclose(stack.to_world(3, item.vertices), item.world())
    before = stack.to_world(4, [(10, 20)])
    stack.slices[2].registration = (4, -6, 0)
    # A shift carries along the slices behind; rows go down and Y goes up.
    assert np.allclose(stack.to_world(4, [(10, 20)]) - before, [(2, 3, 0)])
    assert np.allclose(stack.to_world(1, item.vertices)[:, :2], expected[:, :2] - expected[0, :2]
                       + stack.to_world(1, item.vertices[:1])[0, :2])
    assert stack.slices[2].registration == (4, -6, 0) and stack.undo()
    assert np.allclose(stack.to_world(4, [(10, 20)]), before)


def test_measures_are_those_of_numpy(stack):
    told = stack.measure()
    items = stack.model("Ball").items
    assert [entry["slice"] for entry in told["items"]] == [item.slice.name for item in items]
    for entry, item in zip(told["items"], items):
        assert entry["area"] == pytest.approx(shoelace(item.vertices) * 0.25, rel=1e-5)
    model = told["models"][0]
    assert (model["name"], model["vertices"], model["contours"]) == ("Ball", 5 * 48, 5)
    surface = stack.model("Ball").surface()
    assert model["closedVolume"] == pytest.approx(enclosed(surface.vertices, surface.faces), rel=1e-6)
    assert model["certificate"]["closed"] and model["surface"] == "closed"
    assert len(told["slices"]) == 6 and told["slices"][5]["counts"] == {"Ball": 0}


def test_surfaces_are_what_their_arrays_say(stack):
    ball = stack.model("Ball")
    for surface in (ball.surface(), ball.surface(rows=9, columns=30), ball.surface(ends="flat")):
        vertices, faces = surface.vertices, surface.faces
        assert vertices.dtype == np.float64 and faces.dtype == np.uint32 and faces.max() < len(vertices)
        a, b, c = (vertices[faces[:, k]] for k in range(3))
        assert surface.area == pytest.approx(np.linalg.norm(np.cross(b - a, c - a), axis=1).sum() / 2)
        assert surface.volume == pytest.approx(enclosed(vertices, faces)) and surface.volume > 0
        # Each edge is used once in each direction, as on any closed and oriented surface.
        edges = np.concatenate([faces[:, [0, 1]], faces[:, [1, 2]], faces[:, [2, 0]]]).astype(np.int64)
        assert len(np.unique(edges, axis=0)) == len(edges)
        assert {tuple(edge) for edge in edges} == {(b, a) for a, b in edges}
        euler = len(np.unique(faces)) - len(edges) // 2 + len(faces)
        assert surface.certificate["eulerNumber"] == euler == 2 and surface.certificate["genus"] == 0
    opened = ball.surface(ends="open")
    assert not opened.certificate["closed"]
    with pytest.raises(vorlen.Error, match="not closed"):
        opened.volume
    # A ball-like body between the prisms within and around its outlines.
    assert sum(shoelace(item.vertices) * 0.25 for item in ball.items) * 2 == pytest.approx(
        ball.surface().volume, rel=0.15)


def test_there_is_no_surface_of_nothing(stack):
    empty = stack.add_model("Empty")
    points = stack.add_model("Points", geometry="Polypoint")
    points.add_item(stack.slices[0], [(1, 2), (3, 4)])
    for model in (empty, points):
        with pytest.raises(vorlen.Error):
            model.surface()
    for arguments in ({"rows": 5}, {"rows": -1, "columns": 4}, {"rows": 1 << 20, "columns": 1 << 20}, {"ends": "?"}):
        with pytest.raises(vorlen.Error):
            stack.model("Ball").surface(**arguments)


def test_files_of_surfaces_hold_the_triangles(stack, tmp_path):
    surface = stack.model("Ball").surface()
    surface.save(str(tmp_path / "ball.stl"), name="ball")
    lines = (tmp_path / "ball.stl").read_text().split("\n")
    corners = np.array([line.split()[1:] for line in lines if line.strip().startswith("vertex")], float)
    assert np.allclose(corners, surface.vertices[surface.faces.ravel()], rtol=1e-4, atol=1e-4)
    with pytest.raises(vorlen.FileError):
        surface.save(str(tmp_path / "ball.obj"))


def test_outlines_are_resampled_and_smoothed(stack):
    item = stack.model("Ball").items[2]
    area = shoelace(item.vertices)
    item.resample(20)
    assert len(item) <= 20 and shoelace(item.vertices) == pytest.approx(area, rel=0.05)
    item.vertices = circle((40, 30), 16)
    item.smooth(3)
    assert shoelace(item.vertices) == pytest.approx(area, rel=0.05)


def test_moved_sections_are_registered_in_one_step(tmp_path):
    random = np.random.default_rng(3)
    texture = random.normal(size=(240, 280))
    for _ in range(3):
        texture = (texture + np.roll(texture, 1, 0) + np.roll(texture, 1, 1) + np.roll(texture, (1, 1), (0, 1))) / 4
    texture = np.clip(128 + 140 * texture / texture.std() / 3, 0, 255).astype(np.uint8)
    files = []
    for k, (rows, columns) in enumerate(((20, 20), (14, 27), (20, 20))):
        files.append(str(tmp_path / f"m{k}.tif"))
        write_tiff(files[-1], texture[rows:rows + 200, columns:columns + 240])
    moved = vorlen.new("Moved", files, spacing=1, pixel_size=(1, 1))
    told = moved.register(reference=0)
    assert [entry["state"] for entry in told] == ["first", "registered", "registered"]
    # What is at (c, r) of the first lies at (c - 7, r + 6) of the second.
    assert np.allclose(told[1]["after"][:2], (7, -6), atol=0.5)
    assert np.allclose(np.add(told[1]["after"][:2], told[2]["after"][:2]), 0, atol=0.7)
    assert moved.slices[1].registration == pytest.approx(told[1]["after"])
    moved.undo()
    assert moved.slices[1].registration == (0, 0, 0)
