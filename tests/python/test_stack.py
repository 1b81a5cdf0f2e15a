import gc
import threading

import numpy as np
import pytest

import vorlen
from conftest import circle, write_tiff


def test_pixels_are_those_of_the_files(images, stack, tmp_path):
    files, arrays = images
    for file, array, section in zip(files, arrays, stack.slices):
        assert np.array_equal(vorlen.read_image(file), array)
        assert np.array_equal(section.image(), array)
    volume = stack.volume()
    assert volume.dtype == np.float32 and np.array_equal(volume, np.stack(arrays))
    deep = np.arange(12, dtype=np.uint16).reshape(3, 4) * 5000
    colours = np.arange(36, dtype=np.uint8).reshape(3, 4, 3)
    for name, pixels in (("deep.tif", deep), ("colours.tif", colours)):
        write_tiff(tmp_path / name, pixels)
        read = vorlen.read_image(str(tmp_path / name))
        assert read.dtype == pixels.dtype and np.array_equal(read, pixels)


def test_a_stack_comes_back_from_its_file(stack, tmp_path):
    file = str(tmp_path / "test.sdf")
    assert stack.modified
    stack.save(file)
    assert not stack.modified and stack.path == file
    again = vorlen.open(file)
    assert again.problems == [] and again.unit == "\N{MICRO SIGN}m"
    assert [model.name for model in again.models] == ["Ball"]
    for own, other in zip(stack.model("Ball").items, again.model("Ball").items):
        assert np.array_equal(own.vertices, other.vertices)
        assert other.slice.name == own.slice.name and len(other) == 48


def test_edits_can_be_undone(stack):
    item = stack.model("Ball").items[2]
    before = item.vertices
    moved = before + (3, 2)
    item.vertices = moved
    assert np.array_equal(item.vertices, moved)
    item.move_vertex(-1, (1, 2))
    assert item.vertices[-1].tolist() == [1, 2]
    item.insert_vertex(0, (5, 6))
    assert len(item) == 49 and item.vertices[0].tolist() == [5, 6]
    item.remove_vertex(0)
    assert len(stack.steps) == 10
    for _ in range(4):
        assert stack.undo()
    assert np.array_equal(item.vertices, before)
    assert stack.redo() and np.array_equal(item.vertices, moved)
    # An array that was given away does not change with the item, nor the item with the array.
    moved[:] = 0
    assert not np.array_equal(item.vertices, moved)


def test_painting_and_erasing_change_the_area(stack):
    ball, section = stack.model("Ball"), stack.slice(2)

    def area():
        outlines = [item.vertices for item in section.items]
        return sum(abs(np.sum(x * np.roll(y, -1) - y * np.roll(x, -1))) / 2 for x, y in (o.T for o in outlines))

    before = area()
    ball.paint(section, [(40, 30), (60, 30)], radius=5)
    after = area()
    # Beyond the disk of radius 16 the stroke covers a strip 10 high and about 4 wide, and half a disk of radius 5.
    assert after - before == pytest.approx(4 * 10 + np.pi * 25 / 2, rel=0.1)
    ball.erase(section, [(60, 30)], radius=30)
    assert area() < after / 2
    stack.undo()
    stack.undo()
    assert area() == before


def test_what_has_gone_is_told_and_never_touched(stack):
    ball, section = stack.model("Ball"), stack.slices[5]
    made = ball.add_item(section, circle((20, 20), 5))
    same = section.items[0]
    assert made == same and hash(made) == hash(same) and made != ball.items[0]
    stack.undo()
    assert made.gone and same.gone and section.items == []
    # The step that frees it, and memory that may be its.
    others = [ball.add_item(section, circle((30, 20), 5 + k)) for k in range(50)]
    for use in (lambda: made.vertices, lambda: made.delete(), lambda: made.world(), lambda: made.model,
                lambda: made.resample(10)):
        with pytest.raises(vorlen.Error, match="left its stack"):
            use()
    assert not any(other.gone for other in others)
    stack.delete_model(ball)
    assert ball.gone and all(other.gone for other in others)
    stack.undo()
    assert ball.gone and not stack.model("Ball").gone


def test_objects_keep_alive_what_they_look_at(images):
    def parts():
        own = vorlen.new("Test", images[0], spacing=2, pixel_size=(0.5, 0.5))
        ball = own.add_model("Ball")
        for k in range(4):
            ball.add_item(own.slices[k], circle((40, 30), 10 + k))
        return own.slices[1].image(), ball.items[0], ball.surface().vertices, ball.surface(), own.volume()

    image, item, vertices, surface, volume = parts()
    copies = [np.array(array) for array in (image, item.vertices, vertices, surface.faces, volume)]
    faces = surface.faces
    del surface
    gc.collect()
    for _ in range(5):
        parts()  # what is freed is used again
    for array, copy in zip((image, item.vertices, vertices, faces, volume), copies):
        assert np.array_equal(array, copy)
    assert item.slice.stack.model("Ball").name == "Ball"


def test_views_cannot_be_written(stack):
    surface = stack.model("Ball").surface()
    for array in (surface.vertices, surface.faces):
        with pytest.raises(ValueError):
            array[0] = 0


def test_failures_are_of_one_family(stack, images, tmp_path):
    missing = str(tmp_path / "missing.sdf")
    with pytest.raises(vorlen.FileError, match="missing.sdf"):
        vorlen.open(missing)
    with pytest.raises(vorlen.FileError):
        vorlen.read_image(images[0][0][:-4] + ".sdf")
    with pytest.raises(vorlen.FileError):
        stack.save(str(tmp_path / "no" / "folder.sdf"))
    with pytest.raises(vorlen.Error, match="never saved"):
        stack.save()
    with pytest.raises(vorlen.RefusedError):
        stack.add_model("Ball")
    with pytest.raises(vorlen.RefusedError):
        stack.model("Ball").add_item(stack.slices[0], [(1, 1), (2, 2)])
    assert issubclass(vorlen.RefusedError, vorlen.Error) and not stack.slices[5].items
    with pytest.raises(KeyError):
        stack.model("Cube")
    for number in (6, -7):
        with pytest.raises(IndexError):
            stack.slice(number)
    with pytest.raises(IndexError):
        stack.model("Ball").items[0].move_vertex(48, (1, 1))
    other = vorlen.new("Other", images[0], spacing=1, pixel_size=(1, 1))
    with pytest.raises(vorlen.Error, match="different stacks"):
        stack.model("Ball").add_item(other.slices[0], circle((20, 20), 5))


@pytest.mark.parametrize("points", [np.zeros(6), np.zeros((3, 3)), np.full((3, 2), np.nan), np.full((3, 2), 1e300), []])
def test_points_that_are_none_are_refused(stack, points):
    steps = len(stack.steps)
    with pytest.raises(vorlen.Error):
        stack.model("Ball").add_item(stack.slices[5], points)
    with pytest.raises(vorlen.Error):
        stack.model("Ball").items[0].vertices = points
    assert len(stack.steps) == steps


def test_a_damaged_file_is_read_only(stack, tmp_path):
    file = tmp_path / "test.sdf"
    stack.save(str(file))
    file.write_bytes(file.read_bytes()[:-200])
    damaged = vorlen.open(str(file))
    assert damaged.problems
    with pytest.raises(vorlen.RefusedError, match="read-only"):
        damaged.add_model("New")
    with pytest.raises(vorlen.Error, match="read-only"):
        damaged.save()
    damaged.save(str(tmp_path / "whole.sdf"))
    damaged.add_model("New")


def test_threads_may_share_a_stack(stack):
    ball, failures = stack.model("Ball"), []

    def edit(k):
        try:
            for _ in range(50):
                item = ball.add_item(stack.slices[5], circle((20 + k, 20), 5))
                item.vertices = item.vertices + 1
                item.delete()
        except Exception as failure:  # told below, on the main thread
            failures.append(failure)

    threads = [threading.Thread(target=edit, args=(k,)) for k in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert failures == [] and stack.slices[5].items == []
