// placeholder: see averagebeatdelineator.h
