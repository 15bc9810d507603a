"""Makes everything under data/ anew: python3 data/make/make_data.py (needs numpy)."""

import os

import distmaps
import models
import scenes
import templates

if __name__ == '__main__':
    data = os.path.join(os.path.dirname(os.path.abspath(__file__)), '..')
    distmaps.write_library(os.path.join(data, 'distmaps'))
    templates.write_library(os.path.join(data, 'geometry'))
    models.write_models(os.path.join(data, 'models'))
    scenes.write_scenes(os.path.join(data, 'scenes'))
