"""Sources of the sample tree that are no scenes: an animation database and an event document."""

DOCUMENTS = {
    "characters/scout/scout.xml": """\
<?xml version="1.0" encoding="utf-8"?>
<AnimationDatabase>
  <!-- Every name that any of the characters plays stands here, with what plays where nobody says otherwise. -->
  <Character name="scout">
    <Animation name="walk" take="assembly:/characters/scout/moves.fbx?/walk.take"/>
    <Animation name="run"  take="assembly:/characters/scout/moves.fbx?/run.take"/>
    <Animation name="jump" take="assembly:/characters/scout/moves.fbx?/jump.take"/>
    <Animation name="turn" take="assembly:/characters/scout/moves_yup.fbx?/about_face.take"/>
    <Animation name="salute" take=""/>
    <!-- Walks at his ease, salutes, and has the rest from the scout. -->
    <Character name="scout_guard">
      <Animation name="walk" take="assembly:/characters/scout/moves_yup.fbx?/stroll.take"/>
      <Animation name="salute" take="assembly:/characters/scout/moves.fbx?/wave.take"/>
    </Character>
  </Character>
</AnimationDatabase>
""",
    "characters/scout/moves_yup.events": """\
<?xml version="1.0" encoding="utf-8"?>
<TakeList>
  <Take name="stroll">
    <EventTrack name="ZSoundEventConsumer">
      <Event>
        <Attributes><StartTime>0.25</StartTime><Duration>0</Duration><EntityData name="m_sound">step_left</EntityData></Attributes>
      </Event>
    </EventTrack>
    <EventTrack name="ZAnimPosePropertyEventConsumer">
      <!-- Comes in over the first quarter, stays, and goes out over the last one. -->
      <Event>
        <Attributes>
          <StartTime>0</StartTime>
          <Duration>0.25</Duration>
          <EntityData name="m_posePropertyName">whistle</EntityData>
          <EntityData name="m_attachBoneName">Bip01_Head</EntityData>
          <EntityData name="m_type" enumValue="eAnimPoseProp_Float32"/>
          <EntityData name="m_startingValue">0</EntityData>
          <EntityData name="m_endingValue">1</EntityData>
        </Attributes>
      </Event>
      <Event>
        <Attributes>
          <StartTime>0.75</StartTime>
          <Duration>0.25</Duration>
          <EntityData name="m_posePropertyName">whistle</EntityData>
          <EntityData name="m_attachBoneName">Bip01_Head</EntityData>
          <EntityData name="m_type" enumValue="eAnimPoseProp_Float32"/>
          <EntityData name="m_startingValue">1</EntityData>
          <EntityData name="m_endingValue">0</EntityData>
        </Attributes>
      </Event>
      <Event>
        <Attributes>
          <StartTime>0</StartTime>
          <Duration>0.5</Duration>
          <EntityData name="m_posePropertyName">left_foot_down</EntityData>
          <EntityData name="m_type" enumValue="eAnimPoseProp_Bool"/>
          <EntityData name="m_valueBool">true</EntityData>
        </Attributes>
      </Event>
      <Event>
        <Attributes>
          <StartTime>0.52</StartTime>
          <Duration>0.48</Duration>
          <EntityData name="m_posePropertyName">left_foot_down</EntityData>
          <EntityData name="m_type" enumValue="eAnimPoseProp_Bool"/>
          <EntityData name="m_valueBool">false</EntityData>
        </Attributes>
      </Event>
      <Event>
        <Attributes>
          <StartTime>0</StartTime>
          <Duration>0</Duration>
          <EntityData name="m_posePropertyName">ground</EntityData>
          <EntityData name="m_type" enumValue="eAnimPoseProp_HashedString"/>
          <EntityData name="m_valueHashedString">gravel</EntityData>
        </Attributes>
      </Event>
    </EventTrack>
  </Take>
</TakeList>
""",
}
